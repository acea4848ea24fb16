#include "Oxa/System/Um/Internal/UserDatabaseFile.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace Oxa::System::Um::Internal
{

using System::Commons::FileDescriptor;
using System::Commons::Text::Format;

namespace
{

[[noreturn]] void ThrowDatabaseError(const BasicString& path, std::string_view cause)
{
    Database::ThrowDatabaseError({path, "user database"}, cause);
}

[[noreturn]] void ThrowDatabaseErrno(const BasicString& path, int error)
{
    Database::ThrowDatabaseErrno({path, "user database"}, error);
}

// "OxaU": tells a user database from other databases.
constexpr int64 applicationId = 0x4F786155;

// Version 1 also had tables of roles and permissions, which are ignored. Version 2 had neither API tokens nor the last
// two columns of users.
constexpr int64 schemaVersion = 3;

// Ids are never used again (AUTOINCREMENT): the login of a removed user must not become valid with a new one. Names are
// compared without case by the program: with a collation of its own no other program could read the table.
constexpr const char* createUsers = R"sql(
CREATE TABLE users (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    passwordHash TEXT NOT NULL,
    passwordGeneration INTEGER NOT NULL DEFAULT 0,
    roleName TEXT NOT NULL,
    isDisabled INTEGER NOT NULL DEFAULT 0,
    mustChangePassword INTEGER NOT NULL DEFAULT 0
) STRICT;
)sql";

// Times are microseconds since 1970.
constexpr const char* createApiTokens = R"sql(
CREATE TABLE apiTokens (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    secretHash TEXT NOT NULL UNIQUE,
    roleName TEXT NOT NULL,
    created INTEGER NOT NULL,
    expires INTEGER,
    lastUsed INTEGER,
    createdBy TEXT NOT NULL
) STRICT;
)sql";

constexpr const char* addUserColumns = R"sql(
ALTER TABLE users ADD COLUMN isDisabled INTEGER NOT NULL DEFAULT 0;
ALTER TABLE users ADD COLUMN mustChangePassword INTEGER NOT NULL DEFAULT 0;
)sql";

/// The files that SQLite creates beside a database.
constexpr const char* companionSuffixes[] = {"-journal", "-wal", "-shm"};

void RemoveCompanions(const BasicString& path) noexcept
{
    for (const char* const suffix : companionSuffixes)
    {
        unlink((path + suffix).c_str());
    }
}

void RemoveDatabase(const BasicString& path) noexcept
{
    unlink(path.c_str());
    RemoveCompanions(path);
}

void SetVersion(SqliteConnection& connection)
{
    connection.Execute(Format("PRAGMA user_version = {0}", schemaVersion).c_str());
}

/// Requires: an empty file.
void WriteTables(const BasicString& path)
{
    SqliteConnection connection({path, "user database"});
    SqliteTransaction transaction(connection, SqliteTransaction::Kind::Write);
    connection.Execute(createUsers);
    connection.Execute(createApiTokens);
    connection.Execute(Format("PRAGMA application_id = {0}", applicationId).c_str());
    SetVersion(connection);
    transaction.Commit();
    // Readers then never wait for a writer. The mode is stored in the file.
    connection.Execute("PRAGMA journal_mode = WAL");
}

FileDescriptor LockFolder(const BasicString& path)
{
    const BasicString folder = std::filesystem::path(path).parent_path().string();
    FileDescriptor lock(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    int result = -1;
    while (lock.IsOpen() && (result = flock(lock.Get(), LOCK_EX)) != 0 && errno == EINTR)
    {
    }
    if (result != 0)
    {
        ThrowDatabaseErrno(path, errno);
    }
    return lock;
}

/// Does not open the file: closing it would drop the locks that other connections of this process hold.
const BasicString& CheckFile(const BasicString& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
    {
        ThrowDatabaseErrno(path, errno);
    }
    if (!S_ISREG(status.st_mode))
    {
        ThrowDatabaseError(path, S_ISDIR(status.st_mode) ? "it is a folder" : "it is no regular file");
    }
    if (status.st_size == 0)
    {
        ThrowDatabaseError(path, "it is empty; restore it, or remove it to begin anew");
    }
    if (access(path.c_str(), R_OK) != 0)
    {
        ThrowDatabaseErrno(path, errno);
    }
    return path;
}

} // namespace

bool CreateUserDatabase(const BasicString& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) == 0)
    {
        return false;
    }
    const FileDescriptor folder = LockFolder(path);
    if (lstat(path.c_str(), &status) == 0)
    {
        return false;
    }
    const BasicString unfinished = path + ".new";
    RemoveDatabase(unfinished);
    try
    {
        // SQLite gives its companions the same mode.
        const int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
        if (!FileDescriptor(open(unfinished.c_str(), flags, S_IRUSR | S_IWUSR)).IsOpen())
        {
            ThrowDatabaseErrno(path, errno);
        }
        WriteTables(unfinished);
        // Companions of a database that was deleted would become part of this one.
        RemoveCompanions(path);
        if (rename(unfinished.c_str(), path.c_str()) != 0 || fsync(folder.Get()) != 0)
        {
            ThrowDatabaseErrno(path, errno);
        }
    }
    catch (...)
    {
        RemoveDatabase(unfinished);
        throw;
    }
    return true;
}

SqliteConnection OpenUserDatabase(const BasicString& path)
{
    SqliteConnection connection({CheckFile(path), "user database"});
    if (connection.ReadNumber("PRAGMA application_id") != applicationId)
    {
        ThrowDatabaseError(path, "it is a database of another program");
    }
    (void)HasPresentTables(connection, path);
    return connection;
}

bool HasPresentTables(SqliteConnection& connection, const BasicString& path)
{
    const int64 version = connection.ReadNumber("PRAGMA user_version");
    if (version > schemaVersion)
    {
        ThrowDatabaseError(path, Format("its version {0} is newer than version {1}, the newest that is known here",
                                        version, schemaVersion));
    }
    return version == schemaVersion;
}

SqliteConnection OpenUserDatabaseForWriting(const BasicString& path)
{
    // SQLite would open it for reading only.
    if (access(path.c_str(), R_OK | W_OK) != 0)
    {
        ThrowDatabaseErrno(path, errno);
    }
    return SqliteConnection({path, "user database"});
}

void UpdateTables(SqliteConnection& connection, const BasicString& path)
{
    if (!HasPresentTables(connection, path))
    {
        connection.Execute(addUserColumns);
        connection.Execute(createApiTokens);
        SetVersion(connection);
    }
}

} // namespace Oxa::System::Um::Internal
