#pragma once

#include "Oxa/System/Database/Sqlite.hpp"

/// The file that holds a database of users: its table "users" has the columns number, name, passwordHash,
/// passwordGeneration and roleName. All of these throw as SqliteConnection.
namespace Oxa::System::Um::Internal
{

using Database::SqliteConnection;
using Database::SqliteStatement;

/// As UserManager::CreateDatabase.
[[nodiscard]] bool CreateUserDatabase(const BasicString& path);

/// Refuses what is no regular file, an empty file, and a database of another program or of a newer version.
[[nodiscard]] SqliteConnection OpenUserDatabase(const BasicString& path);

/// Requires: the database has been opened before.
[[nodiscard]] SqliteConnection OpenUserDatabaseForWriting(const BasicString& path);

} // namespace Oxa::System::Um::Internal
