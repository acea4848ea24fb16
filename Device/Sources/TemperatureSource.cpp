#include "Device/Sources/TemperatureSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Sources
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

Items::ItemReading TemperatureSource::Read(const Items::ReadPass&)
{
    std::array<char, maximumNumberBytes> buffer;
    const Machine::KeptFile::Content content = file.Read(buffer);
    if (content.error != 0)
    {
        return Items::ItemReading::Missing(file.DescribeError(content.error));
    }
    const auto millidegrees = Machine::DeviceText::ParseNumber<int64>(Machine::DeviceText::Trim(content.text));
    if (!millidegrees)
    {
        return Items::ItemReading::Missing(fmt::format("'{}' holds no whole number", file.GetPath()));
    }
    return Items::ItemReading::Of(static_cast<double>(*millidegrees) / 1000);
}

BasicString TemperatureSource::Describe() const
{
    return fmt::format("file {} (sensor '{}')", file.GetPath(), sensorName);
}

} // namespace Oxa::Device::Linux::Sources
