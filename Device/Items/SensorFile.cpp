#include "Device/Items/SensorFile.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <array>
#include <mutex>
#include <utility>

namespace Oxa::Device::Linux::Items
{

namespace
{

constexpr std::size_t maximumNumberBytes = 64;
constexpr double millidegreesPerDegree = 1000.0;

} // namespace

SensorFile::SensorFile(SensorAddress address, SteadyClock clock) : address(std::move(address)), clock(std::move(clock))
{
}

ItemReading SensorFile::ReadCelsius()
{
    {
        const std::lock_guard lock(mutex);
        ItemReading reading = ReadKept();
        if (reading.HasValue())
        {
            return reading;
        }
    }
    const SteadyTime now = clock();
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

ItemReading SensorFile::ReadKept()
{
    if (!file)
    {
        return ItemReading::Missing(cause);
    }
    std::array<char, maximumNumberBytes> buffer;
    const KeptFile::Content content = file->Read(buffer);
    if (content.error != 0)
    {
        return ItemReading::Missing(file->DescribeError(content.error));
    }
    const auto millidegrees = DeviceText::ParseNumber<int64>(DeviceText::Trim(content.text));
    if (!millidegrees)
    {
        return ItemReading::Missing(fmt::format("'{}' holds no whole number", file->GetPath()));
    }
    return ItemReading::Of(static_cast<double>(*millidegrees) / millidegreesPerDegree);
}

void SensorFile::Search()
{
    file.reset();
    FoundSensor found = FindSensor(address);
    cause = std::move(found.cause);
    if (!found.path.empty())
    {
        file.emplace(std::move(found.path), KeptFile::Reopening::Never);
    }
}

} // namespace Oxa::Device::Linux::Items
