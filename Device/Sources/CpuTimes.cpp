#include "Device/Sources/CpuTimes.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <cmath>
#include <cstddef>

namespace Oxa::Device::Linux::Sources
{

namespace
{

// user, nice, system, idle, iowait, irq, softirq, steal. What follows, guest time, is already part of user and nice.
constexpr std::size_t counterCount = 8;
constexpr std::size_t requiredCounterCount = 4;
constexpr std::size_t idleIndex = 3;
constexpr std::size_t ioWaitIndex = 4;

std::optional<CpuTimes> ParseCounters(std::string_view text) noexcept
{
    CpuTimes times;
    for (std::size_t index = 0; index < counterCount; ++index)
    {
        const std::string_view word = Machine::DeviceText::TakeWord(text);
        if (word.empty() && index >= requiredCounterCount)
        {
            break;
        }
        const auto counter = Machine::DeviceText::ParseNumber<uint64>(word);
        if (!counter)
        {
            return std::nullopt;
        }
        times.total += *counter;
        times.idle += index == idleIndex || index == ioWaitIndex ? *counter : 0;
    }
    return times;
}

} // namespace

std::optional<CpuLine> ParseCpuLine(std::string_view line) noexcept
{
    constexpr std::string_view prefix = "cpu";
    std::string_view name = Machine::DeviceText::TakeWord(line);
    const auto times = ParseCounters(line);
    if (!name.starts_with(prefix) || !times)
    {
        return std::nullopt;
    }
    name.remove_prefix(prefix.size());
    if (name.empty())
    {
        return CpuLine{std::nullopt, *times};
    }
    const auto number = Machine::DeviceText::ParseNumber<uint32>(name);
    return number ? std::optional(CpuLine{number, *times}) : std::nullopt;
}

uint8 GetLoadPercent(const CpuTimes& before, const CpuTimes& after) noexcept
{
    if (after.total <= before.total)
    {
        return 0;
    }
    const uint64 total = after.total - before.total;
    // The kernel lets the time of waiting for input and output go backwards now and then: no idle time has passed then.
    const uint64 idle = after.idle > before.idle ? after.idle - before.idle : 0;
    if (idle >= total)
    {
        return 0;
    }
    return static_cast<uint8>(std::lround(100.0 * static_cast<double>(total - idle) / static_cast<double>(total)));
}

std::vector<uint32> ParseCpuList(std::string_view list, std::size_t maximumCount)
{
    std::vector<uint32> numbers;
    while (!list.empty())
    {
        std::string_view range = Machine::DeviceText::TakeUntil(list, ',');
        const bool isSingle = range.find('-') == std::string_view::npos;
        const auto first = Machine::DeviceText::ParseNumber<uint32>(Machine::DeviceText::TakeUntil(range, '-'));
        const auto last = isSingle ? first : Machine::DeviceText::ParseNumber<uint32>(range);
        if (!first || !last || *last < *first)
        {
            return {};
        }
        for (uint64 number = *first; number <= *last && numbers.size() < maximumCount; ++number)
        {
            numbers.push_back(static_cast<uint32>(number));
        }
    }
    return numbers;
}

} // namespace Oxa::Device::Linux::Sources
