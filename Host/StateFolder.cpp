#include "Host/StateFolder.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Host
{

using System::Commons::FileDescriptor;

namespace
{

[[noreturn]] void ThrowErrno(const char* operation, const BasicString& path, int cause)
{
    System::Commons::ThrowErrno(System::Commons::Text::Format("cannot {0} '{1}'", operation, path), cause);
}

FileDescriptor Open(const BasicString& path, int flags)
{
    return FileDescriptor(open(path.c_str(), flags | O_CLOEXEC, S_IRUSR | S_IWUSR));
}

/// Waits until the disk has it. False with errno.
bool TryWrite(const FileDescriptor& file, std::string_view text) noexcept
{
    while (!text.empty())
    {
        const ssize_t count = write(file.Get(), text.data(), text.size());
        if (count >= 0)
        {
            text.remove_prefix(static_cast<std::size_t>(count));
        }
        else if (errno != EINTR)
        {
            return false;
        }
    }
    return fsync(file.Get()) == 0;
}

} // namespace

StateFolder::StateFolder(BasicString newPath)
    : path(std::move(newPath)), initialPasswordPath(path + "/initial-password")
{
}

void StateFolder::Create() const
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

FileDescriptor StateFolder::TakeLock() const
{
    FileDescriptor lock = Open(path, O_RDONLY | O_DIRECTORY);
    if (!lock.IsOpen())
    {
        ThrowErrno("open", path, errno);
    }
    while (flock(lock.Get(), LOCK_EX) != 0)
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
    const BasicString newPath = initialPasswordPath + ".new";
    // Left by a process that was cut off.
    unlink(newPath.c_str());
    const FileDescriptor file = Open(newPath, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
    const FileDescriptor folder = Open(path, O_RDONLY | O_DIRECTORY);
    if (!file.IsOpen() || !TryWrite(file, password + '\n') ||
        rename(newPath.c_str(), initialPasswordPath.c_str()) != 0 || fsync(folder.Get()) != 0)
    {
        const int cause = errno;
        unlink(newPath.c_str());
        ThrowErrno("write", initialPasswordPath, cause);
    }
}

BasicString StateFolder::ReadInitialPassword() const
{
    std::ifstream file(initialPasswordPath);
    BasicString password;
    std::getline(file, password);
    return password;
}

void StateFolder::RemoveInitialPassword() const noexcept
{
    unlink(initialPasswordPath.c_str());
}

} // namespace Oxa::Host
