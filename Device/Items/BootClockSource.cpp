#include "Device/Items/BootClockSource.hpp"

#include <ctime>

namespace Oxa::Device::Linux::Items
{

BootClockSource::BootClockSource() = default;

BootClockSource::~BootClockSource() = default;

ItemReading BootClockSource::Read(const ReadPass&)
{
    timespec time = {};
    if (clock_gettime(CLOCK_BOOTTIME, &time) != 0)
    {
        return ItemReading::Missing("cannot read the boot-time clock");
    }
    return ItemReading::Of(static_cast<uint64>(time.tv_sec));
}

BasicString BootClockSource::Describe() const
{
    return "boot-time clock";
}

} // namespace Oxa::Device::Linux::Items
