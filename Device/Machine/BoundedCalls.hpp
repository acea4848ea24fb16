#pragma once

#include "Device/Machine/SteadyClock.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace Oxa::Device::Linux::Machine
{

/// How long one read of one or several items may wait for calls that hang, all its waits taken together. Threads: one
/// at a time.
class WaitBudget final
{
public:
    /// Long for a file of one value, short beside the deadline of a remote call, which other items share.
    static constexpr std::chrono::milliseconds limit = std::chrono::milliseconds(1000);

    /// What every call gets even when others have spent the budget, so that one that works is not given up.
    static constexpr std::chrono::milliseconds minimum = std::chrono::milliseconds(20);

    [[nodiscard]] std::chrono::nanoseconds GetLeft() const noexcept;
    void Spend(std::chrono::nanoseconds duration) noexcept;

private:
    std::chrono::nanoseconds left = limit;
};

/// Calls into the machine that may hang, such as the read of a file on a dead network mount: one at a time, each on a
/// thread of its own, and no caller waits for one longer than `WaitBudget::limit`. While a call hangs, only its thread
/// does: all others are told at once. Owned by the file or mount point that is asked, whose state its lock guards.
/// Threads: safe from several threads.
class BoundedCalls final
{
public:
    /// Stands for a call that hangs where else an errno tells why there is no result.
    static constexpr int hangs = -1;

    using Lock = std::unique_ptr<System::Commons::MutexLock>;

    /// Whether calls on a file system of this type, the low 32 bits of `statfs::f_type`, can hang for longer than a
    /// local disk takes.
    [[nodiscard]] static bool CanHang(uint32 fileSystemType) noexcept;

    /// Opens a file of the root file system, which is there when anything is: that needs no thread. None, and EXDEV in
    /// errno, when the path leads to another file system or that is unknown; any other errno is the file's.
    [[nodiscard]] static System::Commons::FileDescriptor OpenOnRootFileSystem(const BasicString& path,
                                                                              int flags) noexcept;

    /// Why there is no result. `call`: for instance "a read of '/x'".
    [[nodiscard]] static BasicString DescribeHanging(const BasicString& call);

    BoundedCalls();
    BoundedCalls(const BoundedCalls&) = delete;
    BoundedCalls& operator=(const BoundedCalls&) = delete;

    /// Waits for no call that hangs; the code that its thread returns to stays loaded then.
    ~BoundedCalls();

    /// Owns the lock when no call is in progress, so that something that cannot hang may be done under it.
    [[nodiscard]] Lock TryLock(WaitBudget& budget) OXA_NO_THREAD_SAFETY_ANALYSIS;

    /// False when the call lasts; it then goes on alone, and what it uses has to live as long. Either way `lock`, which
    /// `TryLock` returned, is owned; the next call may have begun. Throws std::system_error when no thread can be made.
    [[nodiscard]] bool Run(const Lock& lock, std::function<void()> call, WaitBudget& budget);

private:
    struct Progress;

    [[nodiscard]] bool AwaitEnd(uint64 number, WaitBudget& budget) OXA_NO_THREAD_SAFETY_ANALYSIS;

    const std::shared_ptr<Progress> progress;
    /// Of the last call; guarded by the lock.
    std::thread thread;
};

} // namespace Oxa::Device::Linux::Machine
