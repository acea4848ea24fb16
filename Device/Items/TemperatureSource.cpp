#include "Device/Items/TemperatureSource.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Items
{

namespace
{

constexpr std::size_t maximumNumberBytes = 64;

int8 ToDegrees(int64 millidegrees) noexcept
{
    using Limits = std::numeric_limits<int8>;
    // Bounded first, so that adding half a degree cannot overflow.
    const int64 bounded = std::clamp<int64>(millidegrees, Limits::min() * 1000, Limits::max() * 1000);
    return static_cast<int8>((bounded + (bounded < 0 ? -500 : 500)) / 1000);
}

} // namespace

TemperatureSource::TemperatureSource(BasicString path, BasicString sensorName)
    : file(std::move(path)), sensorName(std::move(sensorName))
{
}

TemperatureSource::~TemperatureSource() = default;

ItemReading TemperatureSource::Read(const ReadPass&)
{
    std::array<char, maximumNumberBytes> buffer;
    const KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return ItemReading::Missing(file.DescribeError(content.error));
    }
    const auto millidegrees = DeviceText::ParseNumber<int64>(DeviceText::Trim(content.text));
    if (!millidegrees)
    {
        return ItemReading::Missing(fmt::format("'{}' holds no whole number", file.GetPath()));
    }
    return ItemReading::Of(ToDegrees(*millidegrees));
}

BasicString TemperatureSource::Describe() const
{
    return fmt::format("file {} (sensor '{}')", file.GetPath(), sensorName);
}

} // namespace Oxa::Device::Linux::Items
