#include "Oxa/System/Um/Internal/RoleStatements.hpp"

#include "Oxa/System/Um/Internal/SqliteConnection.hpp"
#include "Oxa/System/Um/Internal/SqliteQuery.hpp"
#include "Oxa/System/Um/Internal/SqliteStatement.hpp"

namespace Oxa::System::Um::Internal
{

void InsertRole(SqliteConnection& connection, std::string_view roleName)
{
    SqliteStatement statement(connection, "INSERT INTO roles (name) VALUES (?)");
    SqliteQuery(statement, roleName).Finish();
}

void InsertPermissions(SqliteConnection& connection, const RoleInfo& role)
{
    SqliteStatement statement(connection,
                              "INSERT INTO permissions (roleName, objectPattern, permission) VALUES (?, ?, ?)");
    for (const ObjectPermission& permission : role.permissions)
    {
        SqliteQuery(statement, role.name, permission.objectPattern, permission.permission).Finish();
    }
}

} // namespace Oxa::System::Um::Internal
