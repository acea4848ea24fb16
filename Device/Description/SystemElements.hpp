#pragma once

#include "Device/Description/DescriptionElement.hpp"
#include "Device/Description/SourceMaker.hpp"

/// The elements whose values the running system tells, and the one for a part that is not there. Each function reads
/// the attributes of one element, reports what is wrong with them, and returns what makes the source.
namespace Oxa::Device::Linux::Description
{

[[nodiscard]] SourceMaker ReadAbsent(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadBoardTemperature(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadCpu(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadMemory(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadPartition(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadUptime(DescriptionElement& element);

} // namespace Oxa::Device::Linux::Description
