#include "Device/Sources/PartitionProbe.hpp"

#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

uint8 GetUsedPercent(uint64 usedBlocks, uint64 availableBlocks) noexcept
{
    // Halved until the arithmetic below cannot overflow, whatever a file system says about itself.
    constexpr uint64 bound = std::numeric_limits<uint64>::max() / 256;
    while (usedBlocks > bound || availableBlocks > bound)
    {
        usedBlocks /= 2;
        availableBlocks /= 2;
    }
    const uint64 usableBlocks = usedBlocks + availableBlocks;
    return usableBlocks == 0 ? 0 : static_cast<uint8>((usedBlocks * 100 + usableBlocks - 1) / usableBlocks);
}

PartitionProbe::PartitionProbe(BasicString mountPoint) : mountPoint(std::move(mountPoint)) {}

PartitionUsage PartitionProbe::GetUsage(const Items::ReadPass& pass)
{
    return snapshot.Get(pass, [this] { return Ask(); });
}

const BasicString& PartitionProbe::GetMountPoint() const noexcept
{
    return mountPoint;
}

PartitionUsage PartitionProbe::Ask() const noexcept
{
    struct statvfs status = {};
    if (statvfs(mountPoint.c_str(), &status) != 0)
    {
        return {0, 0, 0, errno};
    }
    const uint64 usedBlocks = status.f_blocks - std::min(status.f_bfree, status.f_blocks);
    return {status.f_blocks * status.f_frsize, usedBlocks * status.f_frsize,
            GetUsedPercent(usedBlocks, status.f_bavail), 0};
}

} // namespace Oxa::Device::Linux::Sources
