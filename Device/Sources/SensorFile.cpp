#include "Device/Sources/SensorFile.hpp"

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
constexpr double millidegreesPerDegree = 1000.0;

} // namespace

SensorFile::SensorFile(SensorAddress address, Machine::SteadyClock clock)
    : address(std::move(address)), clock(std::move(clock))
{
}

Items::ItemReading SensorFile::ReadCelsius()
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

const SensorAddress& SensorFile::GetAddress() const noexcept
{
    return address;
}

Items::ItemReading SensorFile::ReadKept()
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
    const auto millidegrees = Machine::DeviceText::ParseNumber<int64>(Machine::DeviceText::Trim(content.text));
    if (!millidegrees)
    {
        return Items::ItemReading::Missing(fmt::format("'{}' holds no whole number", file->GetPath()));
    }
    return Items::ItemReading::Of(static_cast<double>(*millidegrees) / millidegreesPerDegree);
}

void SensorFile::Search()
{
    file.reset();
    FoundSensor found = FindSensor(address);
    cause = std::move(found.cause);
    if (!found.path.empty())
    {
        file.emplace(std::move(found.path), Machine::KeptFile::Reopening::Never);
    }
}

} // namespace Oxa::Device::Linux::Sources
