#pragma once

#include "Oxa/System/Database/Sqlite.hpp"

/// The file that holds a database of users: the tables "users" and "apiTokens". All of these throw as SqliteConnection.
namespace Oxa::System::Um::Internal
{

using Database::SqliteConnection;
using Database::SqliteStatement;
using Database::SqliteTransaction;

/// As UserManager::CreateDatabase.
[[nodiscard]] bool CreateUserDatabase(const BasicString& path);

/// Refuses what is no regular file, an empty file, and a database of another program or of a newer version.
[[nodiscard]] SqliteConnection OpenUserDatabase(const BasicString& path);

/// False for a database of an older version, without the table "apiTokens" and the columns of users "isDisabled" and
/// "mustChangePassword". Throws for one of a newer version.
[[nodiscard]] bool HasPresentTables(SqliteConnection& connection, const BasicString& path);

/// Opens a database that has been opened before.
[[nodiscard]] SqliteConnection OpenUserDatabaseForWriting(const BasicString& path);

/// Gives a database of an older version the present tables, as a part of the caller's transaction.
void UpdateTables(SqliteConnection& connection, const BasicString& path);

} // namespace Oxa::System::Um::Internal
