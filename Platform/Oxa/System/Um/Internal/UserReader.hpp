#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/Internal/Login.hpp"
#include "Oxa/System/Um/Internal/SqliteConnection.hpp"
#include "Oxa/System/Um/Internal/SqliteStatement.hpp"
#include "Oxa/System/Um/RoleInfo.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::System::Um::Internal
{

/// Looks at users and roles, over a connection of its own: it never waits for a writer.
/// Threads: safe from any thread. Throws InvalidOperationException with path and cause.
class UserReader final
{
public:
    struct Credentials
    {
        Login login;
        BasicString passwordHash;
    };

    /// Requires: a UserWriter has made the database ready.
    explicit UserReader(const BasicString& path);

    [[nodiscard]] bool HasUsers();
    [[nodiscard]] std::vector<UserInfo> GetUsers();
    [[nodiscard]] std::vector<RoleInfo> GetRoles();
    [[nodiscard]] std::optional<Credentials> TryGetCredentials(std::string_view userName);

    /// Nothing when the user is gone or has another password now.
    [[nodiscard]] std::optional<UserInfo> TryGetUser(const Login& login);

    /// The bits of all patterns that match; nothing when the user is gone or has another password now.
    [[nodiscard]] std::optional<uint32> TryGetPermission(const Login& login, std::string_view objectName);

private:
    System::Commons::Mutex mutex;
    SqliteConnection connection;
    SqliteStatement anyUser;
    SqliteStatement users;
    SqliteStatement roles;
    SqliteStatement credentials;
    SqliteStatement userOfLogin;
    SqliteStatement permissionsOfLogin;
};

} // namespace Oxa::System::Um::Internal
