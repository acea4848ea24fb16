#pragma once

#include "Oxa/System/Um/RoleInfo.hpp"

#include <string_view>

namespace Oxa::System::Um::Internal
{

class SqliteConnection;

/// Requires: there is no role of this name.
void InsertRole(SqliteConnection& connection, std::string_view roleName);

/// Requires: the role exists and has no permissions.
void InsertPermissions(SqliteConnection& connection, const RoleInfo& role);

} // namespace Oxa::System::Um::Internal
