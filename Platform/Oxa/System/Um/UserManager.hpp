#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
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
class UserDatabase;
} // namespace Internal

/// The users of a machine, their roles and their logins. Users are in a database file that other processes may change
/// at the same time: every result is the state at that moment. Logins are known to this object only. A user's name has
/// 1 to 64 bytes of UTF-8; a new one has no blanks at its ends and no control, direction or zero-width characters.
/// Names are compared without case; where names of an older database differ only in case, only the exact one matches. A
/// password has 1 to 1024 bytes. Threads: safe from any thread; a password is hashed, for some ten milliseconds,
/// without delaying other calls. Throws: ArgumentException for a violation of these limits and for an unknown role,
/// never with a password in it; when the database cannot be used, with path and cause, TemporaryException for a cause
/// that may pass, else InvalidOperationException. Reading goes on where nothing can be written.
class OXA_EXPORT UserManager final
{
public:
    /// Creates a database without users, readable by its owner only, atomically. False: a file of that name exists and
    /// is left as it is.
    static bool CreateDatabase(const BasicString& databasePath);

    /// Requires: the database exists. An empty file and one that is no user database are refused.
    explicit UserManager(const BasicString& databasePath);
    UserManager(const UserManager&) = delete;
    UserManager& operator=(const UserManager&) = delete;
    ~UserManager();

    /// Ordered by name.
    [[nodiscard]] std::vector<UserInfo> GetUsers() const;

    /// Nothing for an unknown name, as with the functions below. The result has the name as it is stored.
    [[nodiscard]] std::optional<UserInfo> FindUser(std::string_view userName) const;

    /// Throws ArgumentException when the name is taken or not allowed.
    void CheckNewUser(const BasicString& userName) const;

    /// As `CheckNewUser`.
    void AddUser(const BasicString& userName, const BasicString& password, std::string_view roleName);

    /// Ends the user's logins. Returns the user before the change, as `SetPassword` does.
    std::optional<UserInfo> RemoveUser(const BasicString& userName);

    /// Ends the user's logins, also those of other processes.
    std::optional<UserInfo> SetPassword(const BasicString& userName, const BasicString& password);

    /// False for a name or a password that no user can have: the log-in is then refused at once.
    [[nodiscard]] static bool MayBeCredentials(const BasicString& userName, const BasicString& password) noexcept;

    /// Nothing when name and password do not belong together; an unknown name takes as long as a wrong password.
    /// A user has at most 64 logins at a time, and all users together 4096: one more ends the oldest.
    [[nodiscard]] std::optional<SecurityToken> LogIn(const BasicString& userName, const BasicString& password);

    /// Does nothing for an invalid token.
    void LogOut(SecurityToken token) noexcept;

    /// The user's current data; nothing for an invalid token.
    [[nodiscard]] std::optional<UserInfo> TryGetUser(SecurityToken token) const;

    /// True when the token is valid and its user's role holds every bit of `permission` on the object.
    [[nodiscard]] bool IsAuthorized(std::string_view objectName, uint32 permission, SecurityToken token) const;

private:
    std::unique_ptr<Internal::PasswordHasher> hasher;
    std::unique_ptr<Internal::UserDatabase> database;
    std::unique_ptr<Internal::TokenTable> tokens;
};

} // namespace Oxa::System::Um
