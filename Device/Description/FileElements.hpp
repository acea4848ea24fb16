#pragma once

#include "Device/Description/DescriptionElement.hpp"
#include "Device/Description/SourceMaker.hpp"

/// The elements whose values are texts, in the description or in files. Each function reads
/// the attributes of one element, reports what is wrong with them, and returns what makes the source.
namespace Oxa::Device::Linux::Description
{

[[nodiscard]] SourceMaker ReadText(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadFile(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadDmi(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadDeviceTree(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadOsRelease(DescriptionElement& element);

} // namespace Oxa::Device::Linux::Description
