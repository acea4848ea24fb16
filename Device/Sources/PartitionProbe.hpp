#pragma once

#include "Device/Items/ReadPass.hpp"
#include "Device/Machine/BoundedCalls.hpp"
#include "Device/Machine/SteadyClock.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <optional>

struct statfs;

namespace Oxa::Device::Linux::Sources
{

/// How full one file system is.
struct PartitionUsage
{
    uint64 totalBytes = 0;
    uint64 usedBytes = 0;
    uint8 usedPercent = 0;
    /// The errno of the question, or `BoundedCalls::hangs`; the figures are then 0.
    int error = 0;
    /// Whether asking again may hang.
    bool canHang = true;
};

/// What the kernel says of a file system.
[[nodiscard]] PartitionUsage MakePartitionUsage(const struct statfs& status) noexcept;

/// The share of what users can use that is used, in percent, rounded up: the number that `df` shows. 0 for a file
/// system without blocks.
[[nodiscard]] uint8 GetUsedPercent(uint64 usedBlocks, uint64 availableBlocks) noexcept;

/// Asks the kernel about the file system at a mount point, once for all items of one pass, so that they fit together.
/// Nothing is kept open: the file system can be unmounted. What is not on a local disk is asked on another thread,
/// because that may hang; what lies at the mount point is found out that way once in ten seconds. Shared by its
/// sources; safe from several threads, which disturb each other at most by asking once more.
class PartitionProbe final
{
public:
    explicit PartitionProbe(BasicString mountPoint);

    [[nodiscard]] PartitionUsage GetUsage(const Items::ReadPass& pass);

    [[nodiscard]] const BasicString& GetMountPoint() const noexcept;

private:
    [[nodiscard]] bool AskOnThread(Machine::BoundedCalls::Lock& lock, Machine::WaitBudget& budget);

    const BasicString mountPoint;

    /// Its lock guards what follows.
    Machine::BoundedCalls calls;
    std::optional<Items::ReadPass> lastPass;
    PartitionUsage usage;
    Machine::SteadyTime lastCheck;
};

} // namespace Oxa::Device::Linux::Sources
