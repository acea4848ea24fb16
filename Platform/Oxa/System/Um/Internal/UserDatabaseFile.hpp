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

/// Whether the database is of the present version, with all columns of `createTables` and the table "apiTokens". Throws
/// when it is of a newer one.
[[nodiscard]] bool HasPresentTables(SqliteConnection& connection, const BasicString& path);

/// Opens a database that has been opened before.
[[nodiscard]] SqliteConnection OpenUserDatabaseForWriting(const BasicString& path);

/// Brings an older database to the present version, as a part of the caller's transaction.
void UpdateTables(SqliteConnection& connection, const BasicString& path);

} // namespace Oxa::System::Um::Internal
