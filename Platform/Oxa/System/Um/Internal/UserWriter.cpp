#include "Oxa/System/Um/Internal/UserWriter.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Um/Internal/DatabaseFile.hpp"
#include "Oxa/System/Um/Internal/RoleStatements.hpp"
#include "Oxa/System/Um/Internal/SqliteQuery.hpp"
#include "Oxa/System/Um/Internal/SqliteStatement.hpp"
#include "Oxa/System/Um/Internal/SqliteTransaction.hpp"
#include "Oxa/System/Um/Internal/UserSchema.hpp"

#include <mutex>

namespace Oxa::System::Um::Internal
{

using System::Commons::ArgumentException;
using System::Commons::InvalidOperationException;

namespace
{

const BasicString& PrepareFile(const BasicString& path)
{
    PrepareDatabaseFile(path);
    return path;
}

std::optional<int64> FinishWithNumber(SqliteQuery& query)
{
    std::optional<int64> number;
    while (query.Next())
    {
        number = query.GetInteger(0);
    }
    return number;
}

} // namespace

UserWriter::UserWriter(const BasicString& path) : connection(PrepareFile(path))
{
    PrepareUserSchema(connection, path);
}

void UserWriter::AddUser(std::string_view userName, std::string_view passwordHash, std::string_view roleName)
{
    const std::lock_guard lock(mutex);
    SqliteTransaction transaction(connection);
    RequireRole(roleName);
    if (Exists("SELECT 1 FROM users WHERE name = ?", userName))
    {
        throw ArgumentException::Create("userName", userName, "There is a user of this name");
    }
    {
        SqliteStatement statement(connection, "INSERT INTO users (name, passwordHash, roleName) VALUES (?, ?, ?)");
        SqliteQuery(statement, userName, passwordHash, roleName).Finish();
    }
    transaction.Commit();
}

std::optional<int64> UserWriter::RemoveUser(std::string_view userName)
{
    const std::lock_guard lock(mutex);
    SqliteStatement statement(connection, "DELETE FROM users WHERE name = ? RETURNING number");
    SqliteQuery query(statement, userName);
    return FinishWithNumber(query);
}

std::optional<int64> UserWriter::SetPasswordHash(std::string_view userName, std::string_view passwordHash)
{
    const std::lock_guard lock(mutex);
    SqliteStatement statement(connection,
                              "UPDATE users SET passwordHash = ?, passwordGeneration = passwordGeneration + 1 "
                              "WHERE name = ? RETURNING number");
    SqliteQuery query(statement, passwordHash, userName);
    return FinishWithNumber(query);
}

bool UserWriter::SetRole(std::string_view userName, std::string_view roleName)
{
    const std::lock_guard lock(mutex);
    SqliteTransaction transaction(connection);
    RequireRole(roleName);
    bool isFound = false;
    {
        SqliteStatement statement(connection, "UPDATE users SET roleName = ? WHERE name = ? RETURNING number");
        isFound = SqliteQuery(statement, roleName, userName).Finish();
    }
    transaction.Commit();
    return isFound;
}

void UserWriter::AddRole(const RoleInfo& role)
{
    const std::lock_guard lock(mutex);
    SqliteTransaction transaction(connection);
    if (HasRole(role.name))
    {
        throw ArgumentException::Create("roleName", role.name, "There is a role of this name");
    }
    InsertRole(connection, role.name);
    InsertPermissions(connection, role);
    transaction.Commit();
}

bool UserWriter::SetRolePermissions(const RoleInfo& role)
{
    const std::lock_guard lock(mutex);
    SqliteTransaction transaction(connection);
    if (!HasRole(role.name))
    {
        return false;
    }
    {
        SqliteStatement statement(connection, "DELETE FROM permissions WHERE roleName = ?");
        SqliteQuery(statement, role.name).Finish();
    }
    InsertPermissions(connection, role);
    transaction.Commit();
    return true;
}

bool UserWriter::RemoveRole(std::string_view roleName)
{
    const std::lock_guard lock(mutex);
    SqliteTransaction transaction(connection);
    if (Exists("SELECT 1 FROM users WHERE roleName = ?", roleName))
    {
        throw InvalidOperationException::Create("cannot remove the role '{0}': a user has it", roleName);
    }
    bool isFound = false;
    {
        SqliteStatement statement(connection, "DELETE FROM roles WHERE name = ? RETURNING name");
        isFound = SqliteQuery(statement, roleName).Finish();
    }
    transaction.Commit();
    return isFound;
}

bool UserWriter::Exists(const char* sql, std::string_view name)
{
    SqliteStatement statement(connection, sql);
    return SqliteQuery(statement, name).Next();
}

bool UserWriter::HasRole(std::string_view roleName)
{
    return Exists("SELECT 1 FROM roles WHERE name = ?", roleName);
}

void UserWriter::RequireRole(std::string_view roleName)
{
    if (!HasRole(roleName))
    {
        throw ArgumentException::Create("roleName", roleName, "There is no role of this name");
    }
}

} // namespace Oxa::System::Um::Internal
