#include "Device/Sources/MemoryProbe.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::MutexLock;

namespace
{

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

MemoryUsage MemoryProbe::GetUsage(const Items::ReadPass& pass)
{
    const MutexLock lock(mutex);
    if (lastPass != pass)
    {
        usage = Ask();
        lastPass = pass;
    }
    return usage;
}

BasicString MemoryProbe::DescribeError(const MemoryUsage& failure) const
{
    return failure.error != 0 ? file.DescribeError(failure.error)
                              : fmt::format("'{}' does not tell MemTotal and MemAvailable", file.GetPath());
}

const BasicString& MemoryProbe::GetPath() const noexcept
{
    return file.GetPath();
}

MemoryUsage MemoryProbe::Ask() noexcept
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
