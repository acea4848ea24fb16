#include "Oxa/System/Um/Internal/UserReader.hpp"

#include "Oxa/System/Um/Internal/ObjectPattern.hpp"
#include "Oxa/System/Um/Internal/SqliteQuery.hpp"

#include <mutex>

namespace Oxa::System::Um::Internal
{

UserReader::UserReader(const BasicString& path)
    : connection(path),
      anyUser(connection, "SELECT 1 FROM users"),
      users(connection, "SELECT name, roleName FROM users ORDER BY name"),
      roles(connection, "SELECT name, objectPattern, permission FROM roles LEFT JOIN permissions ON roleName = name "
                        "ORDER BY name, objectPattern"),
      credentials(connection, "SELECT number, passwordGeneration, passwordHash FROM users WHERE name = ?"),
      userOfLogin(connection, "SELECT name, roleName FROM users WHERE number = ? AND passwordGeneration = ?"),
      permissionsOfLogin(connection, "SELECT objectPattern, permission FROM users LEFT JOIN permissions "
                                     "ON permissions.roleName = users.roleName "
                                     "WHERE number = ? AND passwordGeneration = ?")
{
}

bool UserReader::HasUsers()
{
    const std::lock_guard lock(mutex);
    return SqliteQuery(anyUser).Next();
}

std::vector<UserInfo> UserReader::GetUsers()
{
    const std::lock_guard lock(mutex);
    std::vector<UserInfo> result;
    SqliteQuery query(users);
    while (query.Next())
    {
        result.push_back({BasicString(query.GetText(0)), BasicString(query.GetText(1))});
    }
    return result;
}

std::vector<RoleInfo> UserReader::GetRoles()
{
    const std::lock_guard lock(mutex);
    std::vector<RoleInfo> result;
    SqliteQuery query(roles);
    while (query.Next())
    {
        if (result.empty() || result.back().name != query.GetText(0))
        {
            result.push_back({BasicString(query.GetText(0)), {}});
        }
        // A role without permissions comes as one row without a pattern.
        if (const std::string_view pattern = query.GetText(1); !pattern.empty())
        {
            result.back().permissions.push_back({BasicString(pattern), static_cast<uint32>(query.GetInteger(2))});
        }
    }
    return result;
}

std::optional<UserReader::Credentials> UserReader::TryGetCredentials(std::string_view userName)
{
    const std::lock_guard lock(mutex);
    SqliteQuery query(credentials, userName);
    if (!query.Next())
    {
        return std::nullopt;
    }
    return Credentials{{query.GetInteger(0), query.GetInteger(1)}, BasicString(query.GetText(2))};
}

std::optional<UserInfo> UserReader::TryGetUser(const Login& login)
{
    const std::lock_guard lock(mutex);
    SqliteQuery query(userOfLogin, login.userNumber, login.passwordGeneration);
    if (!query.Next())
    {
        return std::nullopt;
    }
    return UserInfo{BasicString(query.GetText(0)), BasicString(query.GetText(1))};
}

std::optional<uint32> UserReader::TryGetPermission(const Login& login, std::string_view objectName)
{
    const std::lock_guard lock(mutex);
    std::optional<uint32> permission;
    SqliteQuery query(permissionsOfLogin, login.userNumber, login.passwordGeneration);
    while (query.Next())
    {
        // A user whose role has no permissions comes as one row without a pattern; such a pattern grants nothing.
        const bool matches = MatchesObjectPattern(query.GetText(0), objectName);
        permission = permission.value_or(0) | (matches ? static_cast<uint32>(query.GetInteger(1)) : 0);
    }
    return permission;
}

} // namespace Oxa::System::Um::Internal
