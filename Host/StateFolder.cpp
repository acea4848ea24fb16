#include "Host/StateFolder.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/TrustedPath.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Host
{

using System::Commons::ConfigurationException;
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

/// Returns when the text is on the disk. False with errno.
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

/// Readable by the owner only, from the first moment, and on the disk when this returns. Replaces an earlier file, at
/// once and as a whole. False with errno.
bool TryReplace(const BasicString& folderPath, const BasicString& path, std::initializer_list<std::string_view> pieces)
{
    const BasicString newPath = path + ".new";
    // Left by a process that was interrupted.
    unlink(newPath.c_str());
    const FileDescriptor file = Open(newPath, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
    const FileDescriptor folder = Open(folderPath, O_RDONLY | O_DIRECTORY);
    const auto write = [&file](std::string_view piece)
    {
        return TryWrite(file, piece);
    };
    if (file.IsOpen() && std::ranges::all_of(pieces, write) && rename(newPath.c_str(), path.c_str()) == 0 &&
        fsync(folder.Get()) == 0)
    {
        return true;
    }
    const int cause = errno;
    unlink(newPath.c_str());
    errno = cause;
    return false;
}

/// Keeps other processes from changing the folder until the result is closed.
FileDescriptor Lock(const BasicString& path)
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

/// 24 characters out of 31, in groups: 118 bits, without those that look alike.
BasicString CreatePassword()
{
    constexpr std::string_view alphabet = "abcdefghjkmnpqrstuvwxyz23456789";
    constexpr int groups = 4;
    constexpr int charactersPerGroup = 6;
    BasicString password;
    for (int group = 0; group < groups; ++group)
    {
        password += group == 0 ? "" : "-";
        for (int index = 0; index < charactersPerGroup; ++index)
        {
            password += alphabet[randombytes_uniform(static_cast<uint32>(alphabet.size()))];
        }
    }
    return password;
}

bool HasAdministrator(const System::Um::UserManager& users)
{
    const auto all = users.GetUsers();
    return std::any_of(all.begin(), all.end(),
                       [](const System::Um::UserInfo& user)
                       {
                           return (user.roleName == System::Um::adminRole && !user.isDisabled) ||
                                  System::Commons::Text::FoldCase(user.name) == initialUserName;
                       });
}

/// `subject`: what it is, for the message.
void CheckPrivate(const char* subject, const BasicString& path)
{
    if (const auto weakness = System::Commons::FindPathWeakness(path))
    {
        throw ConfigurationException::Create("cannot use the {0}: {1}", subject, *weakness);
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
    {
        ThrowErrno("check", path, errno);
    }
    const unsigned mode = status.st_mode & 07777U;
    if ((mode & (S_IRWXG | S_IRWXO)) != 0)
    {
        throw ConfigurationException::Create(
            "cannot use the {0}: '{1}' has the mode {2:04o}, but only its owner may have "
            "access",
            subject, path, mode);
    }
}

} // namespace

void CheckUserDatabase(const BasicString& path)
{
    for (const char* const suffix : {"", "-wal", "-shm"})
    {
        struct stat status = {};
        if (*suffix == '\0' || lstat((path + suffix).c_str(), &status) == 0)
        {
            CheckPrivate("user database", path + suffix);
        }
    }
}

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
    Check();
}

void StateFolder::Check() const
{
    CheckPrivate("state folder", path);
}

bool StateFolder::CreateInitialUser(System::Um::UserManager& users) const
{
    const FileDescriptor lock = Lock(path);
    if (HasAdministrator(users))
    {
        return false;
    }
    BasicString password = CreatePassword();
    const auto wiped = [](BasicString* text)
    {
        sodium_memzero(text->data(), text->size());
    };
    const std::unique_ptr<BasicString, decltype(wiped)> wiper(&password, wiped);
    // First the file: a user with an unknown password could not log in. It stays when adding the user fails, because
    // after a failure of the disk the user may be there in the end; the next start replaces it if not.
    WriteInitialPassword(password);
    users.AddUser(initialUserName, password, System::Um::adminRole, true);
    return true;
}

void StateFolder::WriteInitialPassword(const BasicString& password) const
{
    if (!TryReplace(path, initialPasswordPath, {password, "\n"}))
    {
        ThrowErrno("write", initialPasswordPath, errno);
    }
}

BasicString StateFolder::ReadInitialPassword() const
{
    std::ifstream file(initialPasswordPath);
    BasicString password;
    std::getline(file, password);
    return password;
}

std::array<unsigned char, 32> StateFolder::GetBrowserKey() const noexcept
{
    std::array<unsigned char, 32> key;
    randombytes_buf(key.data(), key.size());
    try
    {
        const FileDescriptor lock = Lock(path);
        const BasicString keyPath = path + "/browser-key";
        std::array<unsigned char, 32> kept;
        if (const FileDescriptor file = Open(keyPath, O_RDONLY | O_NOFOLLOW);
            file.IsOpen() && read(file.Get(), kept.data(), kept.size()) == static_cast<ssize_t>(kept.size()))
        {
            return kept;
        }
        (void)TryReplace(path, keyPath, {{reinterpret_cast<const char*>(key.data()), key.size()}});
    }
    catch (...)
    {
        // The folder cannot be used now.
    }
    return key;
}

void StateFolder::Notice(const System::Nm::Notification& notification) const
{
    using System::Nm::NotificationKind;
    const std::pair<BasicString, BasicString> newPassword("changed", "password");
    const bool isVoid = notification.kind == NotificationKind::UserRemoved ||
                        (notification.kind == NotificationKind::UserChanged &&
                         std::ranges::find(notification.fields, newPassword) != notification.fields.end());
    if (isVoid && System::Commons::Text::FoldCase(notification.text) == initialUserName)
    {
        unlink(initialPasswordPath.c_str());
    }
}

} // namespace Oxa::Host
