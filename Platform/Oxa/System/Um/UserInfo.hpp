#pragma once

#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <optional>
#include <string_view>

namespace Oxa::System::Um
{

/// The roles. "Admin": everything. "Engineer": reads and executes what modules offer. "Viewer": reads.
inline constexpr const char* adminRole = "Admin";
inline constexpr const char* engineerRole = "Engineer";
inline constexpr const char* viewerRole = "Viewer";
inline constexpr std::array roleNames = {adminRole, engineerRole, viewerRole};

/// The name of what is logged in with an API token is the token's name behind this; no new user has such a name.
inline constexpr std::string_view apiTokenUserPrefix = "token:";

/// The public data of a user.
struct UserInfo
{
    BasicString name;
    BasicString roleName;
    /// Cannot log in, and has no logins.
    bool isDisabled = false;
    /// Someone else chose the password: the user may do nothing but change it.
    bool mustChangePassword = false;

    bool operator==(const UserInfo&) const = default;
};

/// What `UserManager::ChangeUser` changes: the members that are set.
struct UserChanges
{
    std::optional<std::string_view> roleName = {};
    /// Disabling ends the user's logins.
    std::optional<bool> isDisabled = {};
    /// Ends the user's logins.
    std::optional<std::string_view> password = {};
    /// Of the new password; without one it has no effect.
    bool mustChangePassword = false;
};

enum class UserChange : uint8
{
    Done,
    UnknownUser,
    /// Refused: no active user with the role "Admin" would be left.
    LastAdmin
};

struct UserChangeResult
{
    UserChange change = UserChange::UnknownUser;
    /// With `Done` and `LastAdmin`: the user before the change, with the name as it is stored.
    UserInfo before;
};

/// The public data of an API token, with which a program logs in.
struct ApiTokenInfo
{
    BasicString name;
    BasicString roleName;
    DateTime created;
    /// Nothing: never.
    std::optional<DateTime> expires;
    /// To the minute; nothing: never used.
    std::optional<DateTime> lastUsed;
    /// The name of the user who added it.
    BasicString createdBy;

    bool operator==(const ApiTokenInfo&) const = default;
};

} // namespace Oxa::System::Um
