#pragma once

#include "Device/Items/ReadPass.hpp"
#include "Device/Sources/PassSnapshot.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Sources
{

/// How full one file system is.
struct PartitionUsage
{
    uint64 totalBytes = 0;
    uint64 usedBytes = 0;
    uint8 usedPercent = 0;
    /// The errno of the question; the figures are then 0.
    int error = 0;
};

/// The share of what users can use that is used, in percent, rounded up: the number that `df` shows. 0 for a file
/// system without blocks.
[[nodiscard]] uint8 GetUsedPercent(uint64 usedBlocks, uint64 availableBlocks) noexcept;

/// Asks the kernel about the file system at a mount point, once for all items of one pass, so that they fit together.
/// Nothing is kept open: the file system can be unmounted. Shared by its sources; safe from several threads, which
/// disturb each other at most by asking once more.
class PartitionProbe final
{
public:
    explicit PartitionProbe(BasicString mountPoint);

    [[nodiscard]] PartitionUsage GetUsage(const Items::ReadPass& pass);

    [[nodiscard]] const BasicString& GetMountPoint() const noexcept;

private:
    [[nodiscard]] PartitionUsage Ask() const noexcept;

    const BasicString mountPoint;
    PassSnapshot<PartitionUsage> snapshot;
};

} // namespace Oxa::Device::Linux::Sources
