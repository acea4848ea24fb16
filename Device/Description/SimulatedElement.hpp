#pragma once

#include "Device/Description/DescriptionElement.hpp"
#include "Device/Description/SourceMaker.hpp"

/// The element whose values are made up. Each function reads
/// the attributes of one element, reports what is wrong with them, and returns what makes the source.
namespace Oxa::Device::Linux::Description
{

[[nodiscard]] SourceMaker ReadSimulated(DescriptionElement& element);

} // namespace Oxa::Device::Linux::Description
