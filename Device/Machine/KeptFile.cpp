// The mutex of the calls guards the opened file; a read on another thread uses it without the mutex while the call is
// in progress, and shares its ownership, so that it may outlive the KeptFile. See BoundedCalls for the waits.

#include "Device/Machine/KeptFile.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Machine
{

using System::Commons::MutexLock;
using System::Commons::Threading::Backoff;

namespace
{

/// What a call gets in every pass, so that quick reads on the caller's thread cost no more than those on another one.
constexpr std::chrono::nanoseconds slowRead = WaitBudget::minimum;

/// A read that fails because of a bus typically waits for its timeout at every attempt.
constexpr std::chrono::minutes slowPeriod(1);

/// One read only: the files that matter here deliver all they have at once, and asking the kernel for the end of
/// /proc/meminfo makes it write the whole file again.
KeptFile::Content ReadOnce(int descriptor, std::span<char> buffer) noexcept
{
    ssize_t size = 0;
    do
    {
        size = pread(descriptor, buffer.data(), buffer.size(), 0);
    } while (size < 0 && errno == EINTR);
    if (size < 0)
    {
        return {{}, errno};
    }
    return {{buffer.data(), static_cast<std::size_t>(size)}, 0};
}

} // namespace

/// The descriptor and what is known about it. Threads: one at a time.
class KeptFile::OpenedFile final
{
public:
    OpenedFile(BasicString path, Reopening reopening)
        : path(std::move(path)),
          reopening(reopening),
          isKernelPath(this->path.starts_with("/proc/") || this->path.starts_with("/sys/"))
    {
    }

    [[nodiscard]] bool IsOpen() const noexcept
    {
        return descriptor.IsOpen();
    }

    /// Whether it is open, and a read of it cannot hang for good.
    [[nodiscard]] bool IsLocal() const noexcept
    {
        return IsOpen() && isLocal;
    }

    /// Whether a read of it may call a device's driver.
    [[nodiscard]] bool IsDriverFile() const noexcept
    {
        return isDriverFile;
    }

    /// Whether it could not be opened within the last second.
    [[nodiscard]] bool IsPaused(SteadyTime now) const noexcept
    {
        return !IsOpen() && !opening.IsDue(now);
    }

    /// Opens it, or finds that it cannot be opened. False when that needs a thread.
    [[nodiscard]] bool TryOpenDirectly(SteadyTime now) noexcept
    {
        descriptor = isKernelPath ? System::Commons::FileDescriptor(open(path.c_str(), openingFlags))
                                  : BoundedCalls::OpenOnRootFileSystem(path, openingFlags);
        if (!IsOpen() && errno == EXDEV)
        {
            return false;
        }
        opening.Delay(now);
        TakeOpened();
        return true;
    }

    /// Without opening it.
    [[nodiscard]] Content ReadKept(std::span<char> buffer) noexcept
    {
        if (!IsOpen())
        {
            return {{}, openingError};
        }
        const Content content =
            isReplaceable && WasReplaced() ? Content{{}, ENODEV} : ReadOnce(descriptor.Get(), buffer);
        if (content.error == 0)
        {
            // The next failure is a new one: the file is reopened at once.
            opening.Reset();
        }
        else if (reopening == Reopening::ByPath)
        {
            descriptor.Close();
            openingError = content.error;
        }
        return content;
    }

    [[nodiscard]] Content Read(std::span<char> buffer, SteadyTime now) noexcept
    {
        const Content content = ReadKept(buffer);
        if (IsOpen() || !opening.IsDue(now))
        {
            return content;
        }
        opening.Delay(now);
        descriptor = System::Commons::FileDescriptor(open(path.c_str(), openingFlags));
        TakeOpened();
        return ReadKept(buffer);
    }

private:
    static constexpr int openingFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

    void TakeOpened() noexcept
    {
        if (!IsOpen())
        {
            openingError = errno;
            return;
        }
        struct statfs information = {};
        const auto type = fstatfs(descriptor.Get(), &information) == 0 ? static_cast<uint32>(information.f_type) : 0;
        // Files that the kernel makes up are never replaced by another file of the same name while they can be read.
        isReplaceable = type != PROC_SUPER_MAGIC && type != SYSFS_MAGIC;
        isDriverFile = type == SYSFS_MAGIC;
        isLocal = isKernelPath || !BoundedCalls::CanHang(type);
    }

    [[nodiscard]] bool WasReplaced() const noexcept
    {
        struct stat status = {};
        return fstat(descriptor.Get(), &status) != 0 || status.st_nlink == 0;
    }

    const BasicString path;
    const Reopening reopening;
    const bool isKernelPath;
    /// Of the attempts to open it.
    Backoff opening{std::chrono::seconds(1), std::chrono::seconds(1)};
    System::Commons::FileDescriptor descriptor;
    /// The errno of the failure, while it is not open.
    int openingError = 0;
    bool isReplaceable = false;
    bool isDriverFile = false;
    bool isLocal = false;
};

KeptFile::KeptFile(BasicString path, Reopening reopening, SteadyClock clock)
    : path(std::move(path)), clock(std::move(clock)), file(std::make_shared<OpenedFile>(this->path, reopening))
{
}

KeptFile::~KeptFile() = default;

KeptFile::Content KeptFile::Read(std::span<char> buffer, WaitBudget& budget) noexcept
{
    const SteadyTime now = clock();
    const MutexLock lock(calls.GetMutex());
    if (!calls.AwaitIdle(budget))
    {
        return {{}, BoundedCalls::hangs};
    }
    if (IsReadHere(now, budget))
    {
        const Content content = ReadHere(buffer, budget, now);
        // A file that is closed now may have been replaced.
        if (file->IsOpen() || IsSlow(now))
        {
            return content;
        }
    }
    if (!file->IsOpen())
    {
        const bool needsThread = !file->IsPaused(now) && !file->TryOpenDirectly(now);
        if (!needsThread && !file->IsOpen())
        {
            return file->ReadKept(buffer);
        }
    }
    if (IsReadHere(now, budget))
    {
        return ReadHere(buffer, budget, now);
    }
    try
    {
        return ReadOnThread(buffer, budget, now);
    }
    catch (const std::exception&)
    {
        // There is no thread or no memory left.
        return {{}, EAGAIN};
    }
}

KeptFile::Content KeptFile::Read(std::span<char> buffer) noexcept
{
    WaitBudget budget;
    return Read(buffer, budget);
}

const BasicString& KeptFile::GetPath() const noexcept
{
    return path;
}

BasicString KeptFile::DescribeError(int error) const
{
    return error == BoundedCalls::hangs
               ? BoundedCalls::DescribeHanging(fmt::format("a read of '{}'", path))
               : fmt::format("cannot read '{}': {}", path, std::generic_category().message(error));
}

bool KeptFile::IsSlow(SteadyTime now) const noexcept
{
    return now < slowUntil;
}

bool KeptFile::IsReadHere(SteadyTime now, const WaitBudget& budget) const noexcept
{
    return file->IsLocal() && !(file->IsDriverFile() && (IsSlow(now) || budget.IsSpent()));
}

KeptFile::Content KeptFile::ReadHere(std::span<char> buffer, WaitBudget& budget, SteadyTime now) noexcept
{
    const Content content = file->ReadKept(buffer);
    if (file->IsDriverFile())
    {
        const auto duration = clock() - now;
        if (duration >= slowRead)
        {
            slowUntil = now + duration + slowPeriod;
            budget.Spend(duration);
        }
    }
    return content;
}

KeptFile::Content KeptFile::ReadOnThread(std::span<char> buffer, WaitBudget& budget, SteadyTime now)
{
    // Both outlive this function when the read hangs.
    struct Copy
    {
        std::vector<char> buffer;
        Content content;
    };

    const auto copy = std::make_shared<Copy>();
    copy->buffer.resize(buffer.size());
    const bool hasEnded =
        calls.Run([copy, file = file, now] { copy->content = file->Read(copy->buffer, now); }, budget);
    const SteadyTime end = clock();
    if (!hasEnded || end - now >= slowRead)
    {
        slowUntil = end + slowPeriod;
    }
    if (!hasEnded)
    {
        return {{}, BoundedCalls::hangs};
    }
    const std::string_view text = copy->content.text;
    std::copy(text.begin(), text.end(), buffer.begin());
    return {{buffer.data(), text.size()}, copy->content.error};
}

} // namespace Oxa::Device::Linux::Machine
