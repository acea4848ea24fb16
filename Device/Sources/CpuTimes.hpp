#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// What a processor did since boot, in the kernel's ticks. Waiting for input or output counts as idle.
struct CpuTimes
{
    uint64 total = 0;
    uint64 idle = 0;

    bool operator==(const CpuTimes&) const = default;
};

/// One line of /proc/stat about a processor.
struct CpuLine
{
    /// None: all processors together.
    std::optional<uint32> number;
    CpuTimes times;
};

/// "cpu3 10 0 20 70 …"; none for every other line, and for one that is damaged.
[[nodiscard]] std::optional<CpuLine> ParseCpuLine(std::string_view line) noexcept;

/// The share of the time between two readings that a processor was busy, in percent, rounded to the nearest. 0 when no
/// time has passed or all of it went backwards.
[[nodiscard]] uint8 GetLoadPercent(const CpuTimes& before, const CpuTimes& after) noexcept;

/// The numbers in a list like "0-3,6", at most `maximumCount` of them; empty when the list is damaged.
[[nodiscard]] std::vector<uint32> ParseCpuList(std::string_view list, std::size_t maximumCount);

} // namespace Oxa::Device::Linux::Sources
