#pragma once

#include "Device/Items/ReadPass.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <optional>

namespace Oxa::Device::Linux::Sources
{

/// How much of the machine's memory is in use; what the kernel could give to programs at once does not count.
struct MemoryUsage
{
    /// 0 when the machine does not tell.
    uint64 totalKibibytes = 0;
    uint64 usedKibibytes = 0;
    /// The errno of the reading.
    int error = 0;
};

/// Reads a file like /proc/meminfo once for all items of one pass, so that they fit together. Shared by its sources;
/// safe from several threads, which disturb each other at most by reading once more.
class MemoryProbe final
{
public:
    explicit MemoryProbe(BasicString path);

    [[nodiscard]] MemoryUsage GetUsage(const Items::ReadPass& pass);

    /// Why a usage has no figures.
    [[nodiscard]] BasicString DescribeError(const MemoryUsage& failure) const;
    [[nodiscard]] const BasicString& GetPath() const noexcept;

private:
    [[nodiscard]] MemoryUsage Ask() noexcept;

    Machine::KeptFile file;

    /// Guards what follows.
    System::Commons::Mutex mutex;
    std::optional<Items::ReadPass> lastPass;
    MemoryUsage usage;
};

} // namespace Oxa::Device::Linux::Sources
