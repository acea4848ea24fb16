#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <optional>

namespace Oxa::Device::Linux::Sources
{

/// How much of the machine's memory is in use; memory that the kernel could give to programs at once does not count.
/// Reads a file like /proc/meminfo once for all items of one pass, so that they fit together. Shared by its sources.
/// Threads: safe from several threads, which disturb each other at most by reading once more.
class MemoryProbe final
{
public:
    enum class Figure : uint8
    {
        /// Bytes, unsigned 64-bit.
        Total,
        /// Bytes, unsigned 64-bit.
        Usage,
        /// Of the total, rounded to the nearest, unsigned 8-bit.
        UsagePercent
    };

    explicit MemoryProbe(BasicString path);

    [[nodiscard]] Items::ItemReading Read(Figure figure, const Items::ReadPass& pass);
    [[nodiscard]] BasicString Describe(Figure figure) const;

private:
    struct Usage
    {
        /// 0 when the file cannot be read or does not contain the figures.
        uint64 totalKibibytes = 0;
        uint64 usedKibibytes = 0;
        /// The errno of the reading.
        int error = 0;
    };

    [[nodiscard]] Usage GetUsage(const Items::ReadPass& pass);
    [[nodiscard]] Usage Measure() noexcept;

    Machine::KeptFile file;
    System::Commons::Mutex mutex;
    std::optional<Items::ReadPass> lastPass OXA_GUARDED_BY(mutex);
    Usage usage OXA_GUARDED_BY(mutex);
};

using MemorySource = Items::ProbeSource<MemoryProbe>;

} // namespace Oxa::Device::Linux::Sources
