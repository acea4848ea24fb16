#pragma once

#include "Device/Description/DescriptionElement.hpp"
#include "Device/Description/SourceMaker.hpp"

#include <string_view>

/// The elements of a description that stand for sources.
namespace Oxa::Device::Linux::Description
{

/// Reads the attributes of one element, reports what is wrong with them, and returns what makes the source.
using ReadSourceFunction = SourceMaker (*)(DescriptionElement&);

/// Null for an element that stands for no source; `first` is none of them, for it has elements inside.
[[nodiscard]] ReadSourceFunction FindSourceElement(std::string_view name);

} // namespace Oxa::Device::Linux::Description
