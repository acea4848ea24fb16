#include "Oxa/System/Um/Internal/UserDatabase.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace Oxa::System::Um::Internal
{

using System::Commons::FileDescriptor;
using System::Commons::MutexLock;
using System::Commons::Text::Format;

namespace
{

// "OxaU": tells a user database from other databases.
constexpr int64 applicationId = 0x4F786155;

// Version 1 also had tables of roles and permissions, which are ignored.
constexpr int64 schemaVersion = 2;

// User ids are never used again (AUTOINCREMENT): the token of a removed user must not become valid with a new one.
constexpr const char* createTables = R"sql(
CREATE TABLE users (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    passwordHash TEXT NOT NULL,
    passwordGeneration INTEGER NOT NULL DEFAULT 0,
    roleName TEXT NOT NULL
) STRICT;
)sql";

// Databases of version 1 may hold names that differ only in case: then only the exact one matches.
constexpr const char* selectUserOfName = R"sql(
SELECT number, passwordGeneration, name, roleName, passwordHash FROM users
WHERE name = ?1 OR (name = ?1 COLLATE caseless AND
                    (SELECT count(*) FROM users WHERE name = ?1 COLLATE caseless) = 1)
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

/// Requires: an empty file.
void WriteTables(const BasicString& path)
{
    SqliteConnection connection(path);
    connection.Execute("BEGIN IMMEDIATE");
    connection.Execute(createTables);
    connection.Execute(Format("PRAGMA application_id = {0}", applicationId).c_str());
    connection.Execute(Format("PRAGMA user_version = {0}", schemaVersion).c_str());
    connection.Execute("COMMIT");
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

const BasicString& CheckWritable(const BasicString& path)
{
    if (access(path.c_str(), R_OK | W_OK) != 0)
    {
        ThrowDatabaseErrno(path, errno);
    }
    return path;
}

/// Refuses a database of another program or of a newer version.
SqliteConnection Open(const BasicString& path)
{
    SqliteConnection connection(CheckFile(path));
    if (connection.ReadNumber("PRAGMA application_id") != applicationId)
    {
        ThrowDatabaseError(path, "it is a database of another program");
    }
    const int64 version = connection.ReadNumber("PRAGMA user_version");
    if (version > schemaVersion)
    {
        ThrowDatabaseError(path, Format("its version {0} is newer than version {1}, the newest that is known here",
                                        version, schemaVersion));
    }
    return connection;
}

std::optional<StoredUser> ReadUserOfName(SqliteConnection& connection, std::string_view userName)
{
    std::optional<StoredUser> user;
    SqliteStatement find(connection, selectUserOfName);
    find.Run(
        [&] {
            user = StoredUser{
                {find.GetText(2), find.GetText(3)}, {find.GetInteger(0), find.GetInteger(1)}, find.GetText(4)};
        },
        userName);
    return user;
}

std::optional<UserInfo> ReadUserOfLogin(SqliteStatement& statement, const Login& login)
{
    std::optional<UserInfo> user;
    statement.Run(
        [&] {
            user = UserInfo{statement.GetText(0), statement.GetText(1)};
        },
        login.userId, login.passwordGeneration);
    return user;
}

} // namespace

bool UserDatabase::Create(const BasicString& path)
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

UserDatabase::UserDatabase(BasicString databasePath)
    : path(std::move(databasePath)),
      connection(Open(path)),
      userOfLogin(connection, "SELECT name, roleName FROM users WHERE number = ? AND passwordGeneration = ?")
{
}

std::vector<UserInfo> UserDatabase::GetUsers()
{
    const MutexLock lock(mutex);
    std::vector<UserInfo> users;
    SqliteStatement statement(connection, "SELECT name, roleName FROM users ORDER BY name");
    statement.Run([&] { users.push_back({statement.GetText(0), statement.GetText(1)}); });
    return users;
}

std::optional<StoredUser> UserDatabase::FindUser(std::string_view userName)
{
    const MutexLock lock(mutex);
    return ReadUserOfName(connection, userName);
}

std::optional<UserInfo> UserDatabase::FindUser(const Login& login)
{
    const MutexLock lock(mutex);
    return ReadUserOfLogin(userOfLogin, login);
}

bool UserDatabase::AddUser(std::string_view userName, std::string_view passwordHash, std::string_view roleName)
{
    SqliteConnection writer(CheckWritable(path));
    SqliteStatement statement(writer, "INSERT INTO users (name, passwordHash, roleName) SELECT ?1, ?2, ?3 "
                                      "WHERE NOT EXISTS (SELECT 1 FROM users WHERE name = ?1 COLLATE caseless) "
                                      "RETURNING number");
    bool isAdded = false;
    statement.Run([&isAdded] { isAdded = true; }, userName, passwordHash, roleName);
    return isAdded;
}

std::optional<StoredUser> UserDatabase::RemoveUser(std::string_view userName)
{
    return ChangeUser(userName, "DELETE FROM users WHERE number = ?");
}

std::optional<StoredUser> UserDatabase::SetPasswordHash(std::string_view userName, std::string_view passwordHash)
{
    return ChangeUser(userName,
                      "UPDATE users SET passwordHash = ?2, passwordGeneration = passwordGeneration + 1 "
                      "WHERE number = ?1",
                      passwordHash);
}

/// `sql` changes the user whose id is its first parameter.
template <class... Parameters>
std::optional<StoredUser> UserDatabase::ChangeUser(std::string_view userName, const char* sql,
                                                   const Parameters&... parameters)
{
    SqliteConnection writer(CheckWritable(path));
    // Takes the write lock at once: taken later, it could be refused because what was read is out of date.
    writer.Execute("BEGIN IMMEDIATE");
    auto user = ReadUserOfName(writer, userName);
    if (user)
    {
        SqliteStatement(writer, sql).Run([] {}, user->login.userId, parameters...);
    }
    writer.Execute("COMMIT");
    return user;
}

} // namespace Oxa::System::Um::Internal
