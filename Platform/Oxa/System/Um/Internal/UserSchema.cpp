#include "Oxa/System/Um/Internal/UserSchema.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/Internal/BuiltInRoles.hpp"
#include "Oxa/System/Um/Internal/DatabaseError.hpp"
#include "Oxa/System/Um/Internal/RoleStatements.hpp"
#include "Oxa/System/Um/Internal/SqliteConnection.hpp"
#include "Oxa/System/Um/Internal/SqliteQuery.hpp"
#include "Oxa/System/Um/Internal/SqliteStatement.hpp"
#include "Oxa/System/Um/Internal/SqliteTransaction.hpp"

#include <sqlite3.h>

namespace Oxa::System::Um::Internal
{

namespace
{

// "OxaU": tells a user database from other databases.
constexpr int64 applicationId = 0x4F786155;
constexpr int64 schemaVersion = 1;

// User numbers are never used again (AUTOINCREMENT): the token of a removed user must not become valid with a new one.
constexpr const char* createTables = R"sql(
CREATE TABLE roles (
    name TEXT NOT NULL PRIMARY KEY
) STRICT, WITHOUT ROWID;
CREATE TABLE permissions (
    roleName TEXT NOT NULL REFERENCES roles (name) ON DELETE CASCADE,
    objectPattern TEXT NOT NULL,
    permission INTEGER NOT NULL,
    PRIMARY KEY (roleName, objectPattern)
) STRICT, WITHOUT ROWID;
CREATE TABLE users (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    passwordHash TEXT NOT NULL,
    passwordGeneration INTEGER NOT NULL DEFAULT 0,
    roleName TEXT NOT NULL REFERENCES roles (name)
) STRICT;
)sql";

int64 ReadNumber(SqliteConnection& connection, const char* sql)
{
    SqliteStatement statement(connection, sql);
    SqliteQuery query(statement);
    return query.Next() ? query.GetInteger(0) : 0;
}

bool IsEmpty(SqliteConnection& connection)
{
    return ReadNumber(connection, "SELECT count(*) FROM sqlite_schema") == 0;
}

void CheckIsKnown(SqliteConnection& connection, const BasicString& path)
{
    if (ReadNumber(connection, "PRAGMA application_id") != applicationId)
    {
        throw MakeDatabaseError(path, "it is a database of another program");
    }
    const int64 version = ReadNumber(connection, "PRAGMA user_version");
    if (version > schemaVersion)
    {
        throw MakeDatabaseError(path, System::Commons::Text::Format(
                                          "its version {0} is newer than version {1}, the newest that is known here",
                                          version, schemaVersion));
    }
}

/// Readers then never wait for a writer. It stays with the file and is not possible inside a transaction.
void SwitchToWriteAheadLog(SqliteConnection& connection)
{
    // SQLite does not apply its busy timeout here: of several processes that create the database at the same time, one
    // switches and the others are refused at once.
    constexpr int maximumAttempts = 500;
    constexpr int pauseMilliseconds = 10;
    int attempt = 1;
    while (!connection.TryExecute("PRAGMA journal_mode = WAL"))
    {
        if (!connection.IsBusy() || ++attempt > maximumAttempts)
        {
            connection.ThrowLastError();
        }
        sqlite3_sleep(pauseMilliseconds);
    }
}

void Create(SqliteConnection& connection)
{
    using System::Commons::Text::Format;
    connection.Execute(createTables);
    for (const RoleInfo& role : GetBuiltInRoles())
    {
        InsertRole(connection, role.name);
        InsertPermissions(connection, role);
    }
    connection.Execute(Format("PRAGMA application_id = {0}", applicationId).c_str());
    connection.Execute(Format("PRAGMA user_version = {0}", schemaVersion).c_str());
}

} // namespace

void PrepareUserSchema(SqliteConnection& connection, const BasicString& path)
{
    if (!IsEmpty(connection))
    {
        CheckIsKnown(connection, path);
        return;
    }
    SwitchToWriteAheadLog(connection);
    SqliteTransaction transaction(connection);
    // Another process may have been faster.
    if (IsEmpty(connection))
    {
        Create(connection);
    }
    transaction.Commit();
    CheckIsKnown(connection, path);
}

} // namespace Oxa::System::Um::Internal
