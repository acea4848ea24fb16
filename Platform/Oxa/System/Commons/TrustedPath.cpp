#include "Oxa/System/Commons/TrustedPath.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

// Follows the path as the kernel does, one name after the other and each relative to the folder before, but checks what
// it steps on. A folder that passed cannot be changed by others any more, so neither can what was found in it.

namespace Oxa::System::Commons
{

using Text::Format;

namespace
{

/// As the kernel's.
constexpr int maximumLinks = 40;

bool IsTrusted(uid_t user) noexcept
{
    return user == 0 || user == geteuid();
}

/// Whether only the owner is in the group. An access control list may let others write with the group's bit.
bool IsPrivateGroup(const FileDescriptor& file, const struct stat& status)
{
    std::array<char, 16384> buffer;
    passwd user{};
    passwd* foundUser = nullptr;
    getpwuid_r(status.st_uid, &user, buffer.data(), buffer.size(), &foundUser);
    const BasicString userName = foundUser != nullptr ? foundUser->pw_name : "";
    group members{};
    group* foundGroup = nullptr;
    getgrgid_r(status.st_gid, &members, buffer.data(), buffer.size(), &foundGroup);
    if (userName.empty() || foundGroup == nullptr || userName != foundGroup->gr_name)
    {
        return false;
    }
    for (char** member = foundGroup->gr_mem; *member != nullptr; ++member)
    {
        if (userName != *member)
        {
            return false;
        }
    }
    const BasicString link = "/proc/self/fd/" + std::to_string(file.Get());
    return getxattr(link.c_str(), "system.posix_acl_access", nullptr, 0) < 0 && (errno == ENODATA || errno == ENOTSUP);
}

/// Empty: none.
BasicString FindWeakness(const FileDescriptor& file, const struct stat& status, bool isEnd)
{
    if (!IsTrusted(status.st_uid))
    {
        return Format("belongs to the user {0}, neither to root nor to the user {1} of this process", status.st_uid,
                      geteuid());
    }
    const bool isProtectedBySticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0 && !isEnd;
    if (S_ISLNK(status.st_mode) || isProtectedBySticky)
    {
        return {};
    }
    if ((status.st_mode & S_IWOTH) != 0)
    {
        return "can be written by everybody";
    }
    return (status.st_mode & S_IWGRP) != 0 && !IsPrivateGroup(file, status)
               ? Format("can be written by its group {0}", status.st_gid)
               : BasicString();
}

/// The names that are left of a path, the next one last.
void PushNames(std::vector<BasicString>& names, const std::filesystem::path& path)
{
    const std::vector<BasicString> added(path.begin(), path.end());
    std::copy_if(added.rbegin(), added.rend(), std::back_inserter(names),
                 [](const BasicString& name) { return name != "/" && name != "." && !name.empty(); });
}

BasicString ReadLink(const FileDescriptor& link)
{
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlinkat(link.Get(), "", target.data(), target.size());
    return length > 0 ? BasicString(target.data(), static_cast<std::size_t>(length)) : BasicString();
}

std::optional<BasicString> FindWeaknessAlong(const BasicString& path, bool mayBeMissing)
{
    constexpr int flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
    const auto fail = [](const std::filesystem::path& where, std::string_view cause)
    {
        return Format("'{0}' {1}", where.string(), cause);
    };
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error)
    {
        return fail(path, "cannot be checked: " + error.message());
    }
    std::vector<BasicString> names;
    PushNames(names, absolute);
    names.emplace_back("/");
    std::filesystem::path shown;
    FileDescriptor folder;
    for (int links = 0; !names.empty();)
    {
        const BasicString name = std::move(names.back());
        names.pop_back();
        const std::filesystem::path here = shown / name;
        FileDescriptor file(openat(folder.Get(), name.c_str(), flags));
        struct stat status = {};
        if (mayBeMissing && !file.IsOpen() && errno == ENOENT && fstat(folder.Get(), &status) == 0)
        {
            // What is missing is as safe as the folder that it would be created in.
            const BasicString weakness = FindWeakness(folder, status, true);
            return weakness.empty() ? std::nullopt : std::optional(fail(shown, weakness));
        }
        if (!file.IsOpen() || fstat(file.Get(), &status) != 0)
        {
            return fail(here, "cannot be checked: " + std::generic_category().message(errno));
        }
        const BasicString weakness = FindWeakness(file, status, names.empty());
        if (!weakness.empty())
        {
            return fail(here, weakness);
        }
        if (!S_ISLNK(status.st_mode))
        {
            folder = std::move(file);
            shown = here.lexically_normal();
            continue;
        }
        const BasicString target = ReadLink(file);
        if (target.empty() || ++links > maximumLinks)
        {
            return fail(here, "cannot be checked: " + std::generic_category().message(ELOOP));
        }
        PushNames(names, target);
        if (target.front() == '/')
        {
            names.emplace_back("/");
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<BasicString> FindPathWeakness(const BasicString& path)
{
    return FindWeaknessAlong(path, false);
}

std::optional<BasicString> FindOptionalPathWeakness(const BasicString& path)
{
    return FindWeaknessAlong(path, true);
}

} // namespace Oxa::System::Commons
