#include "Device/Sources/PartitionProbe.hpp"

#include <fcntl.h>
#include <sys/statfs.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <memory>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

/// Another file system can be mounted there meanwhile.
constexpr std::chrono::seconds checkInterval(10);

PartitionUsage Ask(const BasicString& mountPoint) noexcept
{
    struct statfs status = {};
    return statfs(mountPoint.c_str(), &status) == 0 ? MakePartitionUsage(status) : PartitionUsage{.error = errno};
}

/// Of the root file system only; of any other, that it can hang.
PartitionUsage AskRoot(const BasicString& mountPoint) noexcept
{
    const auto folder = Machine::BoundedCalls::OpenOnRootFileSystem(mountPoint, O_PATH | O_CLOEXEC);
    struct statfs status = {};
    return folder.IsOpen() && fstatfs(folder.Get(), &status) == 0 ? MakePartitionUsage(status) : PartitionUsage();
}

} // namespace

PartitionUsage MakePartitionUsage(const struct statfs& status) noexcept
{
    static_assert(sizeof(status.f_blocks) == sizeof(uint64), "built without large files");
    // The block size has 32 bits on a machine of 32 bits.
    const auto blockBytes = static_cast<uint64>(status.f_frsize);
    const uint64 usedBlocks = status.f_blocks - std::min(status.f_bfree, status.f_blocks);
    return {.totalBytes = status.f_blocks * blockBytes,
            .usedBytes = usedBlocks * blockBytes,
            .usedPercent = GetUsedPercent(usedBlocks, status.f_bavail),
            .error = 0,
            .canHang = Machine::BoundedCalls::CanHang(static_cast<uint32>(status.f_type))};
}

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
    auto lock = calls.TryLock(pass.GetWaitBudget());
    if (!lock)
    {
        return {.error = Machine::BoundedCalls::hangs};
    }
    if (lastPass == pass)
    {
        return usage;
    }
    const Machine::SteadyTime now = Machine::ReadSteadyClock();
    if (!usage.canHang && now - lastCheck < checkInterval)
    {
        usage = Ask(mountPoint);
    }
    else if (const PartitionUsage root = AskRoot(mountPoint); !root.canHang)
    {
        usage = root;
        lastCheck = now;
    }
    else if (AskOnThread(lock, pass.GetWaitBudget()))
    {
        lastCheck = now;
    }
    else
    {
        return {.error = Machine::BoundedCalls::hangs};
    }
    lastPass = pass;
    return usage;
}

const BasicString& PartitionProbe::GetMountPoint() const noexcept
{
    return mountPoint;
}

bool PartitionProbe::AskOnThread(Machine::BoundedCalls::Lock& lock, Machine::WaitBudget& budget)
{
    const auto result = std::make_shared<PartitionUsage>();
    if (!calls.Run(
            lock, [result, mountPoint = mountPoint] { *result = Ask(mountPoint); }, budget))
    {
        return false;
    }
    usage = *result;
    return true;
}

} // namespace Oxa::Device::Linux::Sources
