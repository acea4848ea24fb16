#include "Device/Sources/BootClockSource.hpp"

#include <ctime>

namespace Oxa::Device::Linux::Sources
{

Items::ItemReading BootClockSource::Read(const Items::ReadPass& /*pass*/)
{
    timespec time = {};
    if (clock_gettime(CLOCK_BOOTTIME, &time) != 0)
    {
        return Items::ItemReading::Missing("cannot read the boot-time clock");
    }
    return Items::ItemReading::Of(static_cast<uint64>(time.tv_sec));
}

BasicString BootClockSource::Describe() const
{
    return "boot-time clock";
}

} // namespace Oxa::Device::Linux::Sources
