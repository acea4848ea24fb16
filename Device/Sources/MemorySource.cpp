// `mutex` guards the last reading and its pass. A thread that holds it reads the file, which takes the file's own mutex
// and waits no longer than one budget; nothing takes the two in the other order.

#include "Device/Sources/MemorySource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using Items::ItemReading;
using System::Commons::MutexLock;

namespace
{

constexpr uint64 kibibyte = 1024;

// MemTotal and MemAvailable are the first and the third line.
constexpr std::size_t firstLinesBytes = 256;

struct MemorySizes
{
    std::optional<uint64> total;
    std::optional<uint64> available;
};

/// "   16314236 kB"
std::optional<uint64> ParseKibibytes(std::string_view text) noexcept
{
    const auto number = Machine::DeviceText::ParseNumber<uint64>(Machine::DeviceText::TakeWord(text));
    return Machine::DeviceText::Trim(text) == "kB" ? number : std::nullopt;
}

MemorySizes ParseSizes(std::string_view text) noexcept
{
    MemorySizes sizes;
    while (!text.empty() && !(sizes.total && sizes.available))
    {
        std::string_view line = Machine::DeviceText::TakeUntil(text, '\n');
        const std::string_view name = Machine::DeviceText::TakeUntil(line, ':');
        if (name == "MemTotal")
        {
            sizes.total = ParseKibibytes(line);
        }
        else if (name == "MemAvailable")
        {
            sizes.available = ParseKibibytes(line);
        }
    }
    return sizes;
}

} // namespace

MemoryProbe::MemoryProbe(BasicString path) : file(std::move(path)) {}

ItemReading MemoryProbe::Read(Figure figure, const Items::ReadPass& pass)
{
    const Usage current = GetUsage(pass);
    if (current.totalKibibytes == 0)
    {
        return ItemReading::Missing(current.error != 0
                                        ? file.DescribeError(current.error)
                                        : fmt::format("'{}' has no MemTotal and MemAvailable", file.GetPath()));
    }
    switch (figure)
    {
    case Figure::Total:
        return ItemReading::Of(current.totalKibibytes * kibibyte);
    case Figure::Usage:
        return ItemReading::Of(current.usedKibibytes * kibibyte);
    case Figure::UsagePercent:
        break;
    }
    const double share = static_cast<double>(current.usedKibibytes) / static_cast<double>(current.totalKibibytes);
    return ItemReading::Of(static_cast<uint8>(std::lround(100.0 * share)));
}

BasicString MemoryProbe::Describe(Figure /*figure*/) const
{
    return "file " + file.GetPath();
}

MemoryProbe::Usage MemoryProbe::GetUsage(const Items::ReadPass& pass)
{
    const MutexLock lock(mutex);
    if (lastPass != pass)
    {
        usage = Measure();
        lastPass = pass;
    }
    return usage;
}

MemoryProbe::Usage MemoryProbe::Measure() noexcept
{
    std::array<char, firstLinesBytes> buffer;
    const Machine::KeptFile::Content content = file.Read(buffer);
    const MemorySizes sizes = ParseSizes(content.text);
    if (content.error != 0 || !sizes.available || sizes.total.value_or(0) == 0)
    {
        return {0, 0, content.error};
    }
    return {*sizes.total, *sizes.total - std::min(*sizes.available, *sizes.total), 0};
}

} // namespace Oxa::Device::Linux::Sources
