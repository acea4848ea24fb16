#include "Device/Items/UptimeFileSource.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Items
{

namespace
{

constexpr std::size_t maximumLineBytes = 128;

/// "12345.67 …": the digits before the point; those behind it must be digits, too.
std::optional<uint64> ParseSeconds(std::string_view text) noexcept
{
    std::string_view word = DeviceText::TakeWord(text);
    const auto seconds = DeviceText::ParseNumber<uint64>(DeviceText::TakeUntil(word, '.'));
    const bool isWhole = word.empty() || DeviceText::ParseNumber<uint64>(word).has_value();
    return isWhole ? seconds : std::nullopt;
}

} // namespace

UptimeFileSource::UptimeFileSource(BasicString path) : file(std::move(path)) {}

UptimeFileSource::~UptimeFileSource() = default;

ItemReading UptimeFileSource::Read(const ReadPass&)
{
    std::array<char, maximumLineBytes> buffer;
    const KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return ItemReading::Missing(file.DescribeError(content.error));
    }
    const auto seconds = ParseSeconds(DeviceText::Trim(content.text));
    if (!seconds)
    {
        return ItemReading::Missing(fmt::format("'{}' holds no number of seconds", file.GetPath()));
    }
    return ItemReading::Of(*seconds);
}

BasicString UptimeFileSource::Describe() const
{
    return "file " + file.GetPath();
}

} // namespace Oxa::Device::Linux::Items
