#include "Device/Sources/SensorSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::MutexLock;

SensorSource::SensorSource(SensorAddress address, Machine::SteadyClock clock)
    : address(std::move(address)), clock(std::move(clock))
{
}

SensorSource::~SensorSource() = default;

Items::ItemReading SensorSource::Read(const Items::ReadPass& pass)
{
    {
        const MutexLock lock(mutex);
        Items::ItemReading reading = ReadKept(pass);
        if (reading.HasValue())
        {
            return reading;
        }
    }
    const Machine::SteadyTime now = clock();
    const MutexLock lock(mutex);
    if (pace.TryBegin(now))
    {
        Search();
    }
    return ReadKept(pass);
}

BasicString SensorSource::Describe() const
{
    return DescribeSensor(address);
}

Items::ItemReading SensorSource::ReadKept(const Items::ReadPass& pass)
{
    if (!file)
    {
        return Items::ItemReading::Missing(cause);
    }
    BasicString failure;
    const auto number = file->ReadNumber<int64>(failure, pass.GetWaitBudget());
    return number ? Items::ItemReading::Of(static_cast<double>(*number) / unitsPerPlainUnit)
                  : Items::ItemReading::Missing(std::move(failure));
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
