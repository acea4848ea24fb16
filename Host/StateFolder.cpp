#include "Host/StateFolder.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Host
{

using System::Commons::InvalidOperationException;

namespace
{

[[noreturn]] void ThrowErrno(const char* operation, const BasicString& path, int cause)
{
    throw InvalidOperationException::Create("cannot {0} '{1}': {2}", operation, path,
                                            std::generic_category().message(cause));
}

/// A file that is open as long as it lives.
class OpenFile final
{
public:
    OpenFile(const BasicString& path, int flags) : number(open(path.c_str(), flags | O_CLOEXEC, S_IRUSR | S_IWUSR)) {}

    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    ~OpenFile()
    {
        if (number >= 0)
        {
            close(number);
        }
    }

    [[nodiscard]] bool IsOpen() const noexcept
    {
        return number >= 0;
    }

    /// False with errno.
    [[nodiscard]] bool TryWrite(std::string_view text) const noexcept
    {
        while (!text.empty())
        {
            const ssize_t count = write(number, text.data(), text.size());
            if (count >= 0)
            {
                text.remove_prefix(static_cast<std::size_t>(count));
            }
            else if (errno != EINTR)
            {
                return false;
            }
        }
        return true;
    }

    /// Waits until the disk has it. False with errno.
    [[nodiscard]] bool TryFlush() const noexcept
    {
        return fsync(number) == 0;
    }

private:
    const int number;
};

} // namespace

StateFolder::Lock::~Lock()
{
    close(number);
}

StateFolder::StateFolder(BasicString newPath) : path(std::move(newPath))
{
    const auto parent = std::filesystem::absolute(path).parent_path();
    std::error_code error;
    std::filesystem::create_directories(parent, error);
    if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
    {
        ThrowErrno("make the folder", path, errno);
    }
    if (!std::filesystem::is_directory(path, error))
    {
        ThrowErrno("use the folder", path, error ? error.value() : ENOTDIR);
    }
}

BasicString StateFolder::GetInitialPasswordPath() const
{
    return path + "/initial-password";
}

std::unique_ptr<StateFolder::Lock> StateFolder::TakeLock() const
{
    const int number = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (number < 0)
    {
        ThrowErrno("open", path, errno);
    }
    auto lock = std::make_unique<Lock>(number);
    while (flock(number, LOCK_EX) != 0)
    {
        if (errno != EINTR)
        {
            ThrowErrno("lock", path, errno);
        }
    }
    return lock;
}

void StateFolder::WriteInitialPassword(const BasicString& password) const
{
    const BasicString newPath = GetInitialPasswordPath() + ".new";
    // Left by a process that was cut off.
    unlink(newPath.c_str());
    const OpenFile file(newPath, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
    const OpenFile folder(path, O_RDONLY | O_DIRECTORY);
    if (!file.IsOpen() || !file.TryWrite(password + '\n') || !file.TryFlush() ||
        rename(newPath.c_str(), GetInitialPasswordPath().c_str()) != 0 || !folder.TryFlush())
    {
        const int cause = errno;
        unlink(newPath.c_str());
        ThrowErrno("write", GetInitialPasswordPath(), cause);
    }
}

void StateFolder::RemoveInitialPassword() const noexcept
{
    unlink((path + "/initial-password").c_str());
}

} // namespace Oxa::Host
