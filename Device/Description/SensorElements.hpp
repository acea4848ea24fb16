#pragma once

#include "Device/Description/DescriptionElement.hpp"
#include "Device/Description/SourceMaker.hpp"

/// The elements whose values come from sensors, switches and LEDs. Each function reads
/// the attributes of one element, reports what is wrong with them, and returns what makes the source.
namespace Oxa::Device::Linux::Description
{

[[nodiscard]] SourceMaker ReadGpio(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadHwmon(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadLed(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadThermal(DescriptionElement& element);

} // namespace Oxa::Device::Linux::Description
