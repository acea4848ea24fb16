#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/RoleInfo.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::System::Um
{

namespace Internal
{
class PasswordHasher;
class TokenTable;
class UserReader;
class UserWriter;
} // namespace Internal

/// The users of a machine, their roles and their logins. Users and roles are in a database file that other processes
/// may change at the same time: every answer is how things are at that moment. Logins are known to this object only. A
/// role is a set of (object name pattern, permission bits). Built in: "Admin" (everything), "Engineer" (execute on
/// "oxa.services.wbm/modules/*") and "Viewer" (logs in and looks); they can be neither changed nor removed.
/// A name has 1 to 64 bytes of UTF-8 without control characters and is compared exactly; a password has 1 to 1024
/// bytes. Threads: safe from any thread; a password is hashed, for some ten milliseconds, without holding up the other
/// calls. Throws: ArgumentException for what does not meet these limits and for an unknown role, never with a password
/// in it; InvalidOperationException, with path and cause, when the database cannot be used.
class OXA_EXPORT UserManager final
{
public:
    /// Opens the database, or creates it: for its owner only, with the built-in roles and no users.
    explicit UserManager(const BasicString& databasePath);
    UserManager(const UserManager&) = delete;
    UserManager& operator=(const UserManager&) = delete;
    ~UserManager();

    [[nodiscard]] bool HasUsers() const;

    /// In the order of their names.
    [[nodiscard]] std::vector<UserInfo> GetUsers() const;

    /// Throws ArgumentException when there is a user of this name.
    void AddUser(const BasicString& userName, const BasicString& password, const BasicString& roleName);

    /// Ends the user's logins. False when there is no such user, as with the next two.
    bool RemoveUser(const BasicString& userName);

    /// Ends the user's logins, also those that other processes know.
    bool SetPassword(const BasicString& userName, const BasicString& password);

    /// The user's logins go on, with the new role's permissions.
    bool SetRole(const BasicString& userName, const BasicString& roleName);

    /// In the order of their names; the permissions in the order of their patterns.
    [[nodiscard]] std::vector<RoleInfo> GetRoles() const;

    /// Throws ArgumentException when there is a role of this name.
    void AddRole(const RoleInfo& role);

    /// Replaces the permissions of the role. False when there is no such role. Throws InvalidOperationException for a
    /// built-in role.
    bool SetRolePermissions(const RoleInfo& role);

    /// False when there is no such role. Throws InvalidOperationException for a built-in role and for one that a user
    /// has.
    bool RemoveRole(const BasicString& roleName);

    /// False for a name or a password that nobody can have: its log-in is refused at once.
    [[nodiscard]] static bool MayBeCredentials(const BasicString& userName, const BasicString& password) noexcept;

    /// Nothing when name and password do not belong together; an unknown name takes as long as a wrong password.
    /// A user has at most 64 logins at a time, and all users together 4096: one more ends the oldest.
    [[nodiscard]] std::optional<SecurityToken> LogIn(const BasicString& userName, const BasicString& password);

    /// Nothing happens when the token is not valid (any more).
    void LogOut(SecurityToken token) noexcept;

    /// The user as it is at this moment; nothing when the token is not valid (any more).
    [[nodiscard]] std::optional<UserInfo> TryGetUser(SecurityToken token) const;

    /// True when the token is valid and its user's role holds every bit of `permission` on the object. Several patterns
    /// that match add up.
    [[nodiscard]] bool IsAuthorized(std::string_view objectName, uint32 permission, SecurityToken token) const;

private:
    std::unique_ptr<Internal::PasswordHasher> hasher;
    std::unique_ptr<Internal::UserWriter> writer;
    std::unique_ptr<Internal::UserReader> reader;
    std::unique_ptr<Internal::TokenTable> tokens;
};

} // namespace Oxa::System::Um
