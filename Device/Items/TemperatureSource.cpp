#include "Device/Items/TemperatureSource.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Items
{

namespace
{

constexpr std::size_t maximumNumberBytes = 64;

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
    return ItemReading::Of(static_cast<double>(*millidegrees) / 1000);
}

BasicString TemperatureSource::Describe() const
{
    return fmt::format("file {} (sensor '{}')", file.GetPath(), sensorName);
}

} // namespace Oxa::Device::Linux::Items
