#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/BoundedCalls.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
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
    /// The errno of the query, or `BoundedCalls::hangs`; the figures are then 0.
    int error = 0;
    /// Whether the next query may hang.
    bool canHang = true;
};

/// What the kernel reports about a file system.
[[nodiscard]] PartitionUsage MakePartitionUsage(const struct statfs& status) noexcept;

/// The share of what users can use that is used, in percent, rounded up: the number that `df` shows. 0 for a file
/// system without blocks.
[[nodiscard]] uint8 GetUsedPercent(uint64 usedBlocks, uint64 availableBlocks) noexcept;

/// Queries the file system at a mount point, once for all items of one pass, so that they fit together. Nothing is kept
/// open: the file system can be unmounted. A file system that is not on a local disk is queried on another thread,
/// because that may hang; the file system type at the mount point is checked that way once in ten seconds. Shared by
/// its sources. Threads: safe from several threads, which disturb each other at most by one more query.
class PartitionProbe final
{
public:
    enum class Figure : uint8
    {
        /// Bytes, unsigned 64-bit.
        Total,
        /// Bytes, unsigned 64-bit.
        Usage,
        /// Unsigned 8-bit, see GetUsedPercent.
        UsagePercent
    };

    explicit PartitionProbe(BasicString mountPoint);

    [[nodiscard]] Items::ItemReading Read(Figure figure, const Items::ReadPass& pass);
    [[nodiscard]] BasicString Describe(Figure figure) const;

    [[nodiscard]] PartitionUsage GetUsage(const Items::ReadPass& pass);

private:
    [[nodiscard]] bool QueryOnThread(Machine::WaitBudget& budget) OXA_REQUIRES(calls.GetMutex());

    const BasicString mountPoint;
    Machine::BoundedCalls calls;
    std::optional<Items::ReadPass> lastPass OXA_GUARDED_BY(calls.GetMutex());
    PartitionUsage usage OXA_GUARDED_BY(calls.GetMutex());
    Machine::SteadyTime lastCheck OXA_GUARDED_BY(calls.GetMutex());
};

using PartitionSource = Items::ProbeSource<PartitionProbe>;

} // namespace Oxa::Device::Linux::Sources
