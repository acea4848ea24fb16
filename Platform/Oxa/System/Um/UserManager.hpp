#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::System::Um
{

/// The users of a machine, their roles and their logins, and the API tokens of programs. Users and API tokens are in a
/// database file that other processes may change at the same time: every result is the state at that moment. Logins are
/// known to this object only. A name of a user or an API token has 1 to 64 bytes of UTF-8; a new one has no blanks at
/// its ends and no control, direction or zero-width characters, and does not begin with "token:". Names are compared
/// without case; where names of an older database differ only in case, only the exact one matches. A new password has
/// at least 12 characters and at most 1024 bytes of UTF-8 and is not a common one; existing shorter ones stay valid.
/// Threads: safe from any thread; a password is hashed, for some ten milliseconds, without delaying other calls.
/// Throws: ArgumentException for a violation of these limits and for an unknown role, never with a password in it; when
/// the database cannot be used, with path and cause, TemporaryException for a cause that may pass, else
/// InvalidOperationException. Reading goes on where nothing can be written. Copies of passwords are wiped.
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

    /// Nothing for an unknown name. The result has the name as it is stored.
    [[nodiscard]] std::optional<UserInfo> FindUser(std::string_view userName) const;

    /// Throws ArgumentException when the name is taken or not allowed.
    void CheckNewUser(const BasicString& userName) const;

    /// As `CheckNewUser`.
    void AddUser(const BasicString& userName, std::string_view password, std::string_view roleName,
                 bool mustChangePassword = false);

    /// All of the changes or none of them, also when several processes make changes at the same time.
    UserChangeResult ChangeUser(std::string_view userName, const UserChanges& changes);

    UserChangeResult SetPassword(std::string_view userName, std::string_view password, bool mustChangePassword = false)
    {
        return ChangeUser(userName, {.password = password, .mustChangePassword = mustChangePassword});
    }

    /// Ends the user's logins.
    UserChangeResult RemoveUser(std::string_view userName);

    /// False for a name or a password that no user can have: the log-in is then refused at once.
    [[nodiscard]] static bool MayBeCredentials(std::string_view userName, std::string_view password) noexcept;

    /// Nothing when name and password do not belong together, and for a disabled user; an unknown name takes as long as
    /// a wrong password. A user has at most 64 logins at a time, and all users together 4096: one more ends the oldest.
    [[nodiscard]] std::optional<SecurityToken> LogIn(std::string_view userName, std::string_view password);

    /// Whether it is the password of the token's user; takes as long as `LogIn`. False for an API token.
    [[nodiscard]] bool VerifyPassword(SecurityToken token, std::string_view password);

    /// Sets the password of the token's user, who knows the present one, ends the user's logins, and returns a new one;
    /// nothing when `password` is wrong or the token is invalid or that of an API token. A new password that equals the
    /// present one is an ArgumentException.
    [[nodiscard]] std::optional<SecurityToken> ChangePassword(SecurityToken token, std::string_view password,
                                                              std::string_view newPassword);

    /// Does nothing for an invalid token.
    void LogOut(SecurityToken token) noexcept;

    /// The user's current data; nothing for an invalid token, a disabled user, and an API token that was removed or has
    /// expired. For an API token: the name "token:NAME" and the token's role. Cheap enough for every request: without
    /// a system call unless the database has changed.
    [[nodiscard]] std::optional<UserInfo> TryGetUser(SecurityToken token) const;

    /// True when the token is valid and its user's role holds every bit of `permission` on the object.
    [[nodiscard]] bool IsAuthorized(std::string_view objectName, uint32 permission, SecurityToken token) const;

    /// Returns the secret, which begins with "oxa_" and is kept as a hash only. `lifetime`: 1 to 36500 days; nothing:
    /// it does not expire. Throws ArgumentException when the name is taken or not allowed.
    [[nodiscard]] BasicString AddApiToken(const BasicString& name, std::string_view roleName,
                                          std::optional<std::chrono::days> lifetime, std::string_view createdBy);

    /// Ordered by name; also those that have expired.
    [[nodiscard]] std::vector<ApiTokenInfo> GetApiTokens() const;

    /// Returns the API token; nothing for an unknown name. It is invalid at once.
    std::optional<ApiTokenInfo> RemoveApiToken(std::string_view name);

    /// Nothing for a wrong secret and one that has expired. The same secret gets the same token again, which needs no
    /// `LogOut`. As cheap as `TryGetUser`.
    [[nodiscard]] std::optional<SecurityToken> LogInWithApiToken(std::string_view secret);

    /// Writes when API tokens were last used, unless they were not since the last call. Waits for the disk, but not for
    /// another writer; what cannot be written now is left to the next call. To be called about once a minute; the
    /// destructor calls it.
    void RecordApiTokenUse() noexcept;

private:
    struct Content;

    const std::unique_ptr<Content> content;
};

} // namespace Oxa::System::Um
