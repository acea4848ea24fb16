#include "Device/Machine/KeptFile.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Machine
{

namespace
{

/// Files that the kernel makes up are never replaced by another file of the same name while they can be read.
bool IsKernelFile(int descriptor) noexcept
{
    struct statfs information = {};
    return fstatfs(descriptor, &information) == 0 &&
           (information.f_type == PROC_SUPER_MAGIC || information.f_type == SYSFS_MAGIC);
}

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

KeptFile::KeptFile(BasicString path, Reopening reopening, SteadyClock clock)
    : path(std::move(path)), reopening(reopening), clock(std::move(clock))
{
}

KeptFile::~KeptFile() = default;

KeptFile::Content KeptFile::Read(std::span<char> buffer) noexcept
{
    {
        const std::lock_guard lock(mutex);
        const Content content = ReadKept(buffer);
        if (descriptor.IsOpen())
        {
            return content;
        }
    }
    const SteadyTime now = clock();
    const std::lock_guard lock(mutex);
    if (!descriptor.IsOpen() && pace.TryBegin(now))
    {
        Open();
    }
    return ReadKept(buffer);
}

const BasicString& KeptFile::GetPath() const noexcept
{
    return path;
}

BasicString KeptFile::DescribeError(int error) const
{
    return fmt::format("cannot read '{}': {}", path, std::generic_category().message(error));
}

KeptFile::Content KeptFile::ReadKept(std::span<char> buffer) noexcept
{
    if (!descriptor.IsOpen())
    {
        return {{}, openingError};
    }
    const Content content = isReplaceable && WasReplaced() ? Content{{}, ENODEV} : ReadOnce(descriptor.Get(), buffer);
    if (content.error == 0)
    {
        // Whatever comes next is a new failure, and tried again at once.
        pace = RetryPace();
    }
    else if (reopening == Reopening::ByPath)
    {
        descriptor.Close();
        openingError = content.error;
    }
    return content;
}

void KeptFile::Open() noexcept
{
    descriptor = System::Commons::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!descriptor.IsOpen())
    {
        openingError = errno;
        return;
    }
    isReplaceable = !IsKernelFile(descriptor.Get());
}

bool KeptFile::WasReplaced() const noexcept
{
    struct stat status = {};
    return fstat(descriptor.Get(), &status) != 0 || status.st_nlink == 0;
}

} // namespace Oxa::Device::Linux::Machine
