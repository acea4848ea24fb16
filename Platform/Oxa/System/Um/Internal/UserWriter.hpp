#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/Internal/SqliteConnection.hpp"
#include "Oxa/System/Um/RoleInfo.hpp"

#include <optional>
#include <string_view>

namespace Oxa::System::Um::Internal
{

/// Changes users and roles. What a function returns or throws was decided together with the change, whatever other
/// processes do. Arguments are checked by the caller, but for what depends on the database's content.
/// Threads: safe from any thread; a call may wait for the disk and for another process.
/// Throws: InvalidOperationException with path and cause; others where said.
class UserWriter final
{
public:
    /// Creates and checks the database as needed.
    explicit UserWriter(const BasicString& path);

    /// Throws ArgumentException when the name is taken or the role unknown.
    void AddUser(std::string_view userName, std::string_view passwordHash, std::string_view roleName);

    /// The number of the user that was removed; nothing when there is none.
    [[nodiscard]] std::optional<int64> RemoveUser(std::string_view userName);

    /// The number of the user whose password was changed; nothing when there is none.
    [[nodiscard]] std::optional<int64> SetPasswordHash(std::string_view userName, std::string_view passwordHash);

    /// False when there is no such user. Throws ArgumentException when the role is unknown.
    [[nodiscard]] bool SetRole(std::string_view userName, std::string_view roleName);

    /// Throws ArgumentException when the name is taken.
    void AddRole(const RoleInfo& role);

    /// False when there is no such role.
    [[nodiscard]] bool SetRolePermissions(const RoleInfo& role);

    /// False when there is no such role. Throws InvalidOperationException when a user has it.
    [[nodiscard]] bool RemoveRole(std::string_view roleName);

private:
    [[nodiscard]] bool Exists(const char* sql, std::string_view name);
    [[nodiscard]] bool HasRole(std::string_view roleName);
    void RequireRole(std::string_view roleName);

    System::Commons::Mutex mutex;
    SqliteConnection connection;
};

} // namespace Oxa::System::Um::Internal
