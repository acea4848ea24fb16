#include "Device/Items/MemorySource.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Items
{

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
    const auto number = DeviceText::ParseNumber<uint64>(DeviceText::TakeWord(text));
    return DeviceText::Trim(text) == "kB" ? number : std::nullopt;
}

MemorySizes ParseSizes(std::string_view text) noexcept
{
    MemorySizes sizes;
    while (!text.empty() && !(sizes.total && sizes.available))
    {
        std::string_view line = DeviceText::TakeUntil(text, '\n');
        const std::string_view name = DeviceText::TakeUntil(line, ':');
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

MemorySource::MemorySource(BasicString path) : file(std::move(path)) {}

MemorySource::~MemorySource() = default;

ItemReading MemorySource::Read(const ReadPass&)
{
    std::array<char, firstLinesBytes> buffer;
    const KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return ItemReading::Missing(file.DescribeError(content.error));
    }
    const MemorySizes sizes = ParseSizes(content.text);
    if (!sizes.available || sizes.total.value_or(0) == 0)
    {
        return ItemReading::Missing(fmt::format("'{}' does not tell MemTotal and MemAvailable", file.GetPath()));
    }
    const double available = static_cast<double>(std::min(*sizes.available, *sizes.total));
    const double availablePercent = 100.0 * available / static_cast<double>(*sizes.total);
    return ItemReading::Of(static_cast<uint8>(std::lround(100.0 - availablePercent)));
}

BasicString MemorySource::Describe() const
{
    return "file " + file.GetPath();
}

} // namespace Oxa::Device::Linux::Items
