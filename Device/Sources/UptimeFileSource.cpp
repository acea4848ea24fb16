#include "Device/Sources/UptimeFileSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

constexpr std::size_t maximumLineBytes = 128;

/// "12345.67 …": the digits before the point; those behind it must be digits, too.
std::optional<uint64> ParseSeconds(std::string_view text) noexcept
{
    std::string_view word = Machine::DeviceText::TakeWord(text);
    const auto seconds = Machine::DeviceText::ParseNumber<uint64>(Machine::DeviceText::TakeUntil(word, '.'));
    const bool isWhole = word.empty() || Machine::DeviceText::ParseNumber<uint64>(word).has_value();
    return isWhole ? seconds : std::nullopt;
}

} // namespace

UptimeFileSource::UptimeFileSource(BasicString path) : file(std::move(path)) {}

UptimeFileSource::~UptimeFileSource() = default;

Items::ItemReading UptimeFileSource::Read(const Items::ReadPass&)
{
    std::array<char, maximumLineBytes> buffer;
    const Machine::KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return Items::ItemReading::Missing(file.DescribeError(content.error));
    }
    const auto seconds = ParseSeconds(Machine::DeviceText::Trim(content.text));
    if (!seconds)
    {
        return Items::ItemReading::Missing(fmt::format("'{}' holds no number of seconds", file.GetPath()));
    }
    return Items::ItemReading::Of(*seconds);
}

BasicString UptimeFileSource::Describe() const
{
    return "file " + file.GetPath();
}

} // namespace Oxa::Device::Linux::Sources
