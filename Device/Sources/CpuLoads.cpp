#include "Device/Sources/CpuLoads.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::MutexLock;

namespace
{

// The lines about processors come first in /proc/stat; room for 255 of them at their longest.
constexpr std::size_t statBytes = 65536;

/// Calls `use` for every whole line about processors; the last line of a file that was cut off is left out.
template <class Use>
void ForEachCpuLine(std::string_view text, const Use& use)
{
    while (text.find('\n') != std::string_view::npos)
    {
        if (const auto line = ParseCpuLine(Machine::DeviceText::TakeUntil(text, '\n')))
        {
            use(*line);
        }
    }
}

std::vector<uint32> FindCoreNumbers(std::string_view stat)
{
    std::vector<uint32> numbers;
    ForEachCpuLine(stat,
                   [&numbers](const CpuLine& line)
                   {
                       if (line.number)
                       {
                           numbers.push_back(*line.number);
                       }
                   });
    return numbers;
}

std::vector<uint32> ReadOnlineNumbers(const BasicString& path)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    Machine::KeptFile file(path);
    return ParseCpuList(Machine::DeviceText::Trim(file.Read(buffer).text), CpuLoads::maximumCoreCount);
}

} // namespace

CpuLoads::CpuLoads(BasicString statPath, const BasicString& onlinePath, Machine::SteadyClock clock)
    : file(std::move(statPath), Machine::KeptFile::Reopening::ByPath, std::move(clock)), buffer(statBytes)
{
    coreNumbers = FindCoreNumbers(ReadFile());
    if (coreNumbers.empty())
    {
        coreNumbers = ReadOnlineNumbers(onlinePath);
    }
    std::sort(coreNumbers.begin(), coreNumbers.end());
    coreNumbers.erase(std::unique(coreNumbers.begin(), coreNumbers.end()), coreNumbers.end());
    coreNumbers.resize(std::min(coreNumbers.size(), maximumCoreCount));
    // Everything that has happened since boot is the first period.
    previous.fill(CpuTimes{});
    Sample();
}

void CpuLoads::Sample()
{
    const MutexLock lock(mutex);
    const Slots slots = ParseSlots(ReadFile());
    Publish(slots);
    // The period of what could not be read goes on until it can be read again.
    for (std::size_t index = 0; index < slotCount; ++index)
    {
        if (slots.at(index))
        {
            previous.at(index) = slots.at(index);
        }
    }
}

uint8 CpuLoads::GetCoreCount() const noexcept
{
    return static_cast<uint8>(coreNumbers.size());
}

std::optional<uint8> CpuLoads::GetPercent(std::size_t core) const noexcept
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
    return lastError != 0 ? file.DescribeError(lastError) : "'" + file.GetPath() + "' does not tell of the processors";
}

const BasicString& CpuLoads::GetPath() const noexcept
{
    return file.GetPath();
}

std::string_view CpuLoads::ReadFile()
{
    const Machine::KeptFile::Content content = file.Read(buffer);
    error.store(content.error, std::memory_order_relaxed);
    return content.text;
}

std::optional<std::size_t> CpuLoads::FindSlot(const CpuLine& line) const noexcept
{
    if (!line.number)
    {
        return 0;
    }
    const auto found = std::lower_bound(coreNumbers.begin(), coreNumbers.end(), *line.number);
    if (found == coreNumbers.end() || *found != *line.number)
    {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - coreNumbers.begin()) + 1;
}

CpuLoads::Slots CpuLoads::ParseSlots(std::string_view text) const noexcept
{
    Slots slots;
    ForEachCpuLine(text,
                   [this, &slots](const CpuLine& line)
                   {
                       if (const auto slot = FindSlot(line))
                       {
                           slots.at(*slot) = line.times;
                       }
                   });
    return slots;
}

void CpuLoads::Publish(const Slots& slots) noexcept
{
    const bool isReadable = slots.front().has_value();
    for (std::size_t index = 0; index < slotCount; ++index)
    {
        const auto& before = previous.at(index);
        const auto& after = slots.at(index);
        uint8 percent = isReadable ? 0 : unknownPercent;
        if (isReadable && before && after)
        {
            percent = GetLoadPercent(*before, *after);
        }
        percents.at(index).store(percent, std::memory_order_relaxed);
    }
}

} // namespace Oxa::Device::Linux::Sources
