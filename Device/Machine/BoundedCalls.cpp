// The mutex guards the numbers of started and ended calls; they differ while a call is in progress. A thread that holds
// the mutex while they are equal may use the owner's state; a call's thread uses it without the mutex while they
// differ. No mutex is held while a call runs, so no thread can wait for more than the condition, which always has a
// deadline.

#include "Device/Machine/BoundedCalls.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

namespace Oxa::Device::Linux::Machine
{

using System::Commons::MutexLock;

namespace
{

/// File systems in the kernel, in memory and on local disks.
constexpr uint32 localTypes[] = {PROC_SUPER_MAGIC,      SYSFS_MAGIC,     TMPFS_MAGIC,       RAMFS_MAGIC,
                                 EXT4_SUPER_MAGIC,      XFS_SUPER_MAGIC, BTRFS_SUPER_MAGIC, F2FS_SUPER_MAGIC,
                                 OVERLAYFS_SUPER_MAGIC, SQUASHFS_MAGIC,  JFFS2_SUPER_MAGIC, MSDOS_SUPER_MAGIC,
                                 EROFS_SUPER_MAGIC_V1,  0x24051905 /* UBIFS, missing in the header */};

/// Keeps the shared object that contains this code loaded for the rest of the process.
void KeepCodeLoaded() noexcept
{
    Dl_info object = {};
    if (dladdr(reinterpret_cast<void*>(&KeepCodeLoaded), &object) != 0)
    {
        static_cast<void>(dlopen(object.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE));
    }
}

} // namespace

std::chrono::nanoseconds WaitBudget::GetLeft() const noexcept
{
    return std::max<std::chrono::nanoseconds>(left, minimum);
}

void WaitBudget::Spend(std::chrono::nanoseconds duration) noexcept
{
    left -= std::min(duration, left);
}

bool BoundedCalls::CanHang(uint32 fileSystemType) noexcept
{
    return std::find(std::begin(localTypes), std::end(localTypes), fileSystemType) == std::end(localTypes);
}

System::Commons::FileDescriptor BoundedCalls::OpenOnRootFileSystem(const BasicString& path, int flags) noexcept
{
    open_how how = {};
    how.flags = static_cast<unsigned int>(flags);
    how.resolve = RESOLVE_NO_XDEV;
    // An absolute path starts on the root file system, independent of the working folder.
    const long result = path.starts_with('/') ? syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how) : -1;
    if (result < 0 && (!path.starts_with('/') || errno == ENOSYS || errno == EPERM || errno == EINVAL))
    {
        // A path that is not absolute, an old kernel, or a system call filter.
        errno = EXDEV;
    }
    return System::Commons::FileDescriptor(static_cast<int>(result));
}

BasicString BoundedCalls::DescribeHanging(const BasicString& call)
{
    // The same text every time, so that it is logged once.
    return fmt::format("{} has lasted longer than a request waits, {} ms", call, WaitBudget::limit.count());
}

BoundedCalls::BoundedCalls() : progress(std::make_shared<Progress>()) {}

BoundedCalls::~BoundedCalls()
{
    const MutexLock lock(progress->mutex);
    if (!thread.joinable())
    {
        return;
    }
    if (progress->endedCount == progress->startedCount)
    {
        thread.join();
        return;
    }
    KeepCodeLoaded();
    thread.detach();
}

System::Commons::Mutex& BoundedCalls::GetMutex() const noexcept
{
    return progress->mutex;
}

bool BoundedCalls::AwaitIdle(WaitBudget& budget)
{
    while (progress->endedCount != progress->startedCount)
    {
        if (!AwaitEnd(progress->startedCount, budget))
        {
            return false;
        }
    }
    return true;
}

bool BoundedCalls::Run(std::function<void()> call, WaitBudget& budget)
{
    if (thread.joinable())
    {
        // It has ended its call, and needs the mutex no more.
        thread.join();
    }
    thread = std::thread(
        [progress = progress, call = std::move(call)]
        {
            call();
            const MutexLock lock(progress->mutex);
            ++progress->endedCount;
            progress->ended.NotifyAll();
        });
    progress->start = ReadSteadyClock();
    return AwaitEnd(++progress->startedCount, budget);
}

/// The deadline is the same for all who wait for a call, however late they come; a budget can make it earlier.
bool BoundedCalls::AwaitEnd(uint64 number, WaitBudget& budget)
{
    const SteadyTime now = ReadSteadyClock();
    const SteadyTime deadline = std::min<SteadyTime>(progress->start + WaitBudget::limit, now + budget.GetLeft());
    if (now >= deadline)
    {
        return progress->endedCount >= number;
    }
    while (progress->endedCount < number && progress->ended.WaitUntil(progress->mutex, deadline))
    {
    }
    const bool hasEnded = progress->endedCount >= number;
    budget.Spend(ReadSteadyClock() - now);
    return hasEnded;
}

} // namespace Oxa::Device::Linux::Machine
