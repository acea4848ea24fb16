#pragma once

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace Oxa::Device::Linux::Machine
{

using SteadyTime = std::chrono::steady_clock::time_point;

/// Returns the time that never jumps; tests pass one of their own. Safe from any thread, throws nothing.
using SteadyClock = std::function<SteadyTime()>;

[[nodiscard]] inline SteadyTime ReadSteadyClock() noexcept
{
    return std::chrono::steady_clock::now();
}

/// How long one read of one or several items may wait for calls that hang, all its waits taken together. Threads: one
/// at a time.
class WaitBudget final
{
public:
    /// Long for a file of one value, short compared to the deadline of a remote call, which other items share.
    static constexpr std::chrono::milliseconds limit = std::chrono::milliseconds(1000);

    /// What every call gets even when others have spent the budget, so that a call that works is not given up.
    static constexpr std::chrono::milliseconds minimum = std::chrono::milliseconds(20);

    [[nodiscard]] std::chrono::nanoseconds GetLeft() const noexcept;

    /// Whether a call gets the minimum only.
    [[nodiscard]] bool IsSpent() const noexcept
    {
        return left <= minimum;
    }

    void Spend(std::chrono::nanoseconds duration) noexcept;

private:
    std::chrono::nanoseconds left = limit;
};

/// Calls into the machine that may hang, such as the read of a file on a dead network mount: one at a time, each on a
/// thread of its own, and no caller waits for one longer than `WaitBudget::limit`. While a call hangs, only its thread
/// does: all others are refused at once. Owned by the file or mount point that is read, whose state the mutex guards.
/// Threads: safe from several threads.
class BoundedCalls final
{
    /// Shared with the thread of a call that hangs.
    struct Progress
    {
        System::Commons::Mutex mutex;
        System::Commons::ConditionVariable ended;
        uint64 startedCount OXA_GUARDED_BY(mutex) = 0;
        uint64 endedCount OXA_GUARDED_BY(mutex) = 0;
        /// Of the last call.
        SteadyTime start OXA_GUARDED_BY(mutex);
    };

public:
    /// Stands for a call that hangs where otherwise an errno tells why there is no result.
    static constexpr int hangs = -1;

    /// Whether calls on a file system of this type, the low 32 bits of `statfs::f_type`, can hang for longer than a
    /// local disk takes.
    [[nodiscard]] static bool CanHang(uint32 fileSystemType) noexcept;

    /// Opens a file of the root file system, which always works without a thread. Not open, and EXDEV in errno, when
    /// the path leads to another file system or that is unknown; any other errno is the file's.
    [[nodiscard]] static System::Commons::FileDescriptor OpenOnRootFileSystem(const BasicString& path,
                                                                              int flags) noexcept;

    /// Why there is no result. `call`: for instance "a read of '/x'".
    [[nodiscard]] static BasicString DescribeHanging(const BasicString& call);

    BoundedCalls();
    BoundedCalls(const BoundedCalls&) = delete;
    BoundedCalls& operator=(const BoundedCalls&) = delete;

    /// Waits for no call that hangs; the code that its thread returns to stays loaded then.
    ~BoundedCalls();

    /// Guards what the owner keeps; a call in progress may use that as well, see `AwaitIdle`.
    [[nodiscard]] System::Commons::Mutex& GetMutex() const noexcept
        OXA_THREAD_ATTRIBUTE(lock_returned(progress->mutex));

    /// True when no call is in progress: until the mutex is released, what the owner keeps may be used. False when a
    /// call hangs. Releases the mutex while it waits.
    [[nodiscard]] bool AwaitIdle(WaitBudget& budget) OXA_REQUIRES(GetMutex());

    /// False when the call lasts; it then goes on alone, and what it uses has to live as long. Releases the mutex while
    /// it waits; the next call may have begun. Throws std::system_error when no thread can be made. Requires: no call
    /// is in progress.
    [[nodiscard]] bool Run(std::function<void()> call, WaitBudget& budget) OXA_REQUIRES(GetMutex());

private:
    [[nodiscard]] bool AwaitEnd(uint64 number, WaitBudget& budget) OXA_REQUIRES(GetMutex());

    const std::shared_ptr<Progress> progress;
    /// Of the last call.
    std::thread thread OXA_GUARDED_BY(GetMutex());
};

} // namespace Oxa::Device::Linux::Machine
