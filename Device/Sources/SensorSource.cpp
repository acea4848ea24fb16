#include "Device/Sources/SensorSource.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <mutex>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

constexpr std::size_t maximumNumberBytes = 64;

} // namespace

SensorSource::SensorSource(SensorAddress address, Machine::SteadyClock clock)
    : address(std::move(address)), clock(std::move(clock))
{
}

SensorSource::~SensorSource() = default;

Items::ItemReading SensorSource::Read(const Items::ReadPass&)
{
    {
        const std::lock_guard lock(mutex);
        Items::ItemReading reading = ReadKept();
        if (reading.HasValue())
        {
            return reading;
        }
    }
    const Machine::SteadyTime now = clock();
    const std::lock_guard lock(mutex);
    if (pace.TryBegin(now))
    {
        Search();
    }
    return ReadKept();
}

BasicString SensorSource::Describe() const
{
    return DescribeSensor(address);
}

Items::ItemReading SensorSource::ReadKept()
{
    if (!file)
    {
        return Items::ItemReading::Missing(cause);
    }
    std::array<char, maximumNumberBytes> buffer;
    const Machine::KeptFile::Content content = file->Read(buffer);
    if (content.error != 0)
    {
        return Items::ItemReading::Missing(file->DescribeError(content.error));
    }
    const auto number = Machine::DeviceText::ParseNumber<int64>(Machine::DeviceText::Trim(content.text));
    if (!number)
    {
        return Items::ItemReading::Missing(fmt::format("'{}' holds no whole number", file->GetPath()));
    }
    return Items::ItemReading::Of(static_cast<double>(*number) / unitsPerPlainUnit);
}

void SensorSource::Search()
{
    file.reset();
    FoundSensor found = FindSensor(address);
    cause = std::move(found.cause);
    if (!found.path.empty())
    {
        unitsPerPlainUnit = found.unitsPerPlainUnit;
        file.emplace(std::move(found.path), Machine::KeptFile::Reopening::Never);
    }
}

} // namespace Oxa::Device::Linux::Sources
