// The mutex of the calls guards the last usage and its pass; a query on another thread writes to its own result, so
// that it may outlive its probe. See BoundedCalls for the waits.

#include "Device/Sources/PartitionSource.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/statfs.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using Items::ItemReading;
using Machine::BoundedCalls;
using System::Commons::MutexLock;

namespace
{

/// Another file system can be mounted there meanwhile.
constexpr std::chrono::seconds checkInterval(10);

PartitionUsage Query(const BasicString& mountPoint) noexcept
{
    struct statfs status = {};
    return statfs(mountPoint.c_str(), &status) == 0 ? MakePartitionUsage(status) : PartitionUsage{.error = errno};
}

/// Of the root file system only; of any other, that it can hang.
PartitionUsage QueryRoot(const BasicString& mountPoint) noexcept
{
    const auto folder = BoundedCalls::OpenOnRootFileSystem(mountPoint, O_PATH | O_CLOEXEC);
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
    // Halved until the arithmetic below cannot overflow, for every number that a file system reports.
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

ItemReading PartitionProbe::Read(Figure figure, const Items::ReadPass& pass)
{
    const PartitionUsage current = GetUsage(pass);
    if (current.error == BoundedCalls::hangs)
    {
        return ItemReading::Missing(
            BoundedCalls::DescribeHanging(fmt::format("a query of the file system at '{}'", mountPoint)));
    }
    if (current.error != 0)
    {
        return ItemReading::Missing(fmt::format("cannot query the file system at '{}': {}", mountPoint,
                                                std::generic_category().message(current.error)));
    }
    switch (figure)
    {
    case Figure::Total:
        return ItemReading::Of(current.totalBytes);
    case Figure::Usage:
        return ItemReading::Of(current.usedBytes);
    case Figure::UsagePercent:
        break;
    }
    return ItemReading::Of(current.usedPercent);
}

BasicString PartitionProbe::Describe(Figure /*figure*/) const
{
    return "file system at " + mountPoint;
}

PartitionUsage PartitionProbe::GetUsage(const Items::ReadPass& pass)
{
    const MutexLock lock(calls.GetMutex());
    if (!calls.AwaitIdle(pass.GetWaitBudget()))
    {
        return {.error = BoundedCalls::hangs};
    }
    if (lastPass == pass)
    {
        return usage;
    }
    const Machine::SteadyTime now = Machine::ReadSteadyClock();
    if (!usage.canHang && now - lastCheck < checkInterval)
    {
        usage = Query(mountPoint);
    }
    else if (const PartitionUsage root = QueryRoot(mountPoint); !root.canHang)
    {
        usage = root;
        lastCheck = now;
    }
    else if (QueryOnThread(pass.GetWaitBudget()))
    {
        lastCheck = now;
    }
    else
    {
        return {.error = BoundedCalls::hangs};
    }
    lastPass = pass;
    return usage;
}

bool PartitionProbe::QueryOnThread(Machine::WaitBudget& budget)
{
    const auto result = std::make_shared<PartitionUsage>();
    if (!calls.Run([result, mountPoint = mountPoint] { *result = Query(mountPoint); }, budget))
    {
        return false;
    }
    usage = *result;
    return true;
}

} // namespace Oxa::Device::Linux::Sources
