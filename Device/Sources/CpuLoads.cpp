// `mutex` guards what only samples touch: one sample at a time. Readers see the percents through atomic numbers, each
// on its own: nothing relates the values of two cores to each other.

#include "Device/Sources/CpuLoads.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::MutexLock;

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

// The lines about processors come first in /proc/stat; enough for 255 of them at their longest.
constexpr std::size_t statBytes = 65536;

std::vector<uint32> ReadOnlineNumbers(const BasicString& path)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    Machine::KeptFile file(path);
    return ParseCpuList(Machine::DeviceText::Trim(file.Read(buffer).text), CpuLoads::maximumCoreCount);
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

CpuLoads::CpuLoads(BasicString statPath, const BasicString& onlinePath, Machine::SteadyClock clock)
    : file(std::move(statPath), Machine::KeptFile::Reopening::ByPath, std::move(clock))
{
    {
        const MutexLock lock(mutex);
        buffer.resize(statBytes);
        for (const CpuLine& line : ReadLines())
        {
            if (line.number)
            {
                coreNumbers.push_back(*line.number);
            }
        }
    }
    if (coreNumbers.empty())
    {
        coreNumbers = ReadOnlineNumbers(onlinePath);
    }
    std::sort(coreNumbers.begin(), coreNumbers.end());
    coreNumbers.erase(std::unique(coreNumbers.begin(), coreNumbers.end()), coreNumbers.end());
    coreNumbers.resize(std::min(coreNumbers.size(), maximumCoreCount));
    Sample();
}

void CpuLoads::Sample()
{
    const MutexLock lock(mutex);
    std::array<std::optional<CpuTimes>, slotCount> slots;
    for (const CpuLine& line : ReadLines())
    {
        if (const std::size_t slot = FindSlot(line); slot < slotCount)
        {
            slots.at(slot) = line.times;
        }
    }
    const bool isReadable = slots.front().has_value();
    for (std::size_t index = 0; index < slotCount; ++index)
    {
        uint8 percent = isReadable ? 0 : unknownPercent;
        // The period of a core that could not be read goes on until it can be read again.
        if (const auto times = slots.at(index))
        {
            percent = isReadable ? GetLoadPercent(previous.at(index), *times) : unknownPercent;
            previous.at(index) = *times;
        }
        percents.at(index).store(percent, std::memory_order_relaxed);
    }
}

uint8 CpuLoads::GetCoreCount() const noexcept
{
    return static_cast<uint8>(coreNumbers.size());
}

std::optional<uint8> CpuLoads::GetPercent(Figure core) const noexcept
{
    if (core > coreNumbers.size())
    {
        return std::nullopt;
    }
    const uint8 percent = percents.at(core).load(std::memory_order_relaxed);
    return percent == unknownPercent ? std::nullopt : std::optional(percent);
}

BasicString CpuLoads::GetCause() const
{
    const int lastError = error.load(std::memory_order_relaxed);
    return lastError != 0 ? file.DescribeError(lastError) : "'" + file.GetPath() + "' has no lines about processors";
}

Items::ItemReading CpuLoads::Read(Figure core, const Items::ReadPass& /*pass*/) const
{
    if (const auto percent = GetPercent(core))
    {
        return Items::ItemReading::Of(*percent);
    }
    const std::size_t coreCount = coreNumbers.size();
    return Items::ItemReading::Missing(core > coreCount && coreCount > 0
                                           ? fmt::format("core {} does not exist, number of cores: {}", core, coreCount)
                                           : GetCause());
}

BasicString CpuLoads::Describe(Figure core) const
{
    return fmt::format("processor core {} of {}, 0 for all", core, file.GetPath());
}

const BasicString& CpuLoads::GetPath() const noexcept
{
    return file.GetPath();
}

/// The whole lines about processors; the last line of a file that was cut off is left out.
std::vector<CpuLine> CpuLoads::ReadLines()
{
    Machine::KeptFile::Content content = file.Read(buffer);
    error.store(content.error, std::memory_order_relaxed);
    std::vector<CpuLine> lines;
    while (content.text.find('\n') != std::string_view::npos)
    {
        if (const auto line = ParseCpuLine(Machine::DeviceText::TakeUntil(content.text, '\n')))
        {
            lines.push_back(*line);
        }
    }
    return lines;
}

/// `slotCount` for a core that was offline at the start.
std::size_t CpuLoads::FindSlot(const CpuLine& line) const noexcept
{
    if (!line.number)
    {
        return 0;
    }
    const auto found = std::lower_bound(coreNumbers.begin(), coreNumbers.end(), *line.number);
    const bool isKnown = found != coreNumbers.end() && *found == *line.number;
    return isKnown ? static_cast<std::size_t>(found - coreNumbers.begin()) + 1 : slotCount;
}

CpuCountSource::CpuCountSource(std::shared_ptr<const CpuLoads> loads) : loads(std::move(loads)) {}

Items::ItemReading CpuCountSource::Read(const Items::ReadPass&)
{
    const uint8 count = loads->GetCoreCount();
    return count != 0 ? Items::ItemReading::Of(count) : Items::ItemReading::Missing(loads->GetCause());
}

BasicString CpuCountSource::Describe() const
{
    return "processor cores in " + loads->GetPath();
}

} // namespace Oxa::Device::Linux::Sources
