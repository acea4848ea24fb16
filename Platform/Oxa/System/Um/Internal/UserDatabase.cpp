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

// Version 1 had tables of roles and permissions as well, which are not looked at.
constexpr int64 schemaVersion = 2;

// User numbers are never used again (AUTOINCREMENT): the token of a removed user must not become valid with a new one.
constexpr const char* createTables = R"sql(
CREATE TABLE users (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    passwordHash TEXT NOT NULL,
    passwordGeneration INTEGER NOT NULL DEFAULT 0,
    roleName TEXT NOT NULL
) STRICT;
)sql";

// Databases of version 1 may hold names that differ only in case: then only the exact one is meant.
constexpr const char* selectUserOfName = R"sql(
SELECT number, passwordGeneration, name, roleName, passwordHash FROM users
WHERE name = ?1 OR (name = ?1 COLLATE caseless AND
                    (SELECT count(*) FROM users WHERE name = ?1 COLLATE caseless) = 1)
)sql";

/// The files that SQLite lays beside a database.
constexpr const char* companionSuffixes[] = {"-journal", "-wal", "-shm"};

void RemoveCompanions(const BasicString& path) noexcept
{
    for (const char* const suffix : companionSuffixes)
    {
        unlink((path + suffix).c_str());
    }
}

/// Removes a database that is not finished.
class UnfinishedDatabase final
{
public:
    explicit UnfinishedDatabase(const BasicString& finalPath) : path(finalPath + ".new")
    {
        Remove();
        // SQLite gives its companions the same mode.
        const FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!file.IsOpen())
        {
            ThrowDatabaseErrno(finalPath, errno);
        }
    }

    UnfinishedDatabase(const UnfinishedDatabase&) = delete;
    UnfinishedDatabase& operator=(const UnfinishedDatabase&) = delete;

    ~UnfinishedDatabase()
    {
        Remove();
    }

    void Fill() const
    {
        SqliteConnection connection(path);
        SqliteTransaction transaction(connection);
        connection.Execute(createTables);
        connection.Execute(Format("PRAGMA application_id = {0}", applicationId).c_str());
        connection.Execute(Format("PRAGMA user_version = {0}", schemaVersion).c_str());
        transaction.Commit();
        // Readers then never wait for a writer. It stays with the file.
        connection.Execute("PRAGMA journal_mode = WAL");
    }

    [[nodiscard]] const BasicString& GetPath() const noexcept
    {
        return path;
    }

private:
    void Remove() const noexcept
    {
        unlink(path.c_str());
        RemoveCompanions(path);
    }

    const BasicString path;
};

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

/// Looks at the file without opening it: closing it would drop the locks that other connections of this process hold.
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

/// Leaves one of another program or of a newer version as it is.
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

std::optional<StoredUser> ReadUser(SqliteQuery& query)
{
    if (!query.Next())
    {
        return std::nullopt;
    }
    return StoredUser{
        {query.GetText(2), query.GetText(3)}, {query.GetInteger(0), query.GetInteger(1)}, query.GetText(4)};
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
    const UnfinishedDatabase database(path);
    database.Fill();
    // Those of a database that is gone would become part of this one.
    RemoveCompanions(path);
    if (rename(database.GetPath().c_str(), path.c_str()) != 0 || fsync(folder.Get()) != 0)
    {
        ThrowDatabaseErrno(path, errno);
    }
    return true;
}

UserDatabase::UserDatabase(BasicString databasePath)
    : path(std::move(databasePath)),
      connection(Open(path)),
      allUsers(connection, "SELECT name, roleName FROM users ORDER BY name"),
      userOfName(connection, selectUserOfName),
      userOfLogin(connection, "SELECT name, roleName FROM users WHERE number = ? AND passwordGeneration = ?")
{
}

std::vector<UserInfo> UserDatabase::GetUsers()
{
    const MutexLock lock(mutex);
    std::vector<UserInfo> result;
    SqliteQuery query(allUsers);
    while (query.Next())
    {
        result.push_back({query.GetText(0), query.GetText(1)});
    }
    return result;
}

std::optional<StoredUser> UserDatabase::FindUser(std::string_view userName)
{
    const MutexLock lock(mutex);
    SqliteQuery query(userOfName, userName);
    return ReadUser(query);
}

std::optional<UserInfo> UserDatabase::FindUser(const Login& login)
{
    const MutexLock lock(mutex);
    SqliteQuery query(userOfLogin, login.userNumber, login.passwordGeneration);
    if (!query.Next())
    {
        return std::nullopt;
    }
    return UserInfo{query.GetText(0), query.GetText(1)};
}

bool UserDatabase::AddUser(std::string_view userName, std::string_view passwordHash, std::string_view roleName)
{
    SqliteConnection writer(CheckWritable(path));
    SqliteTransaction transaction(writer);
    SqliteStatement statement(writer, "INSERT INTO users (name, passwordHash, roleName) SELECT ?1, ?2, ?3 "
                                      "WHERE NOT EXISTS (SELECT 1 FROM users WHERE name = ?1 COLLATE caseless) "
                                      "RETURNING number");
    bool isAdded = false;
    {
        SqliteQuery query(statement, userName, passwordHash, roleName);
        while (query.Next())
        {
            isAdded = true;
        }
    }
    transaction.Commit();
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

/// `sql` changes the user whose number is its first parameter.
template <class... Parameters>
std::optional<StoredUser> UserDatabase::ChangeUser(std::string_view userName, const char* sql,
                                                   const Parameters&... parameters)
{
    SqliteConnection writer(CheckWritable(path));
    SqliteTransaction transaction(writer);
    SqliteStatement find(writer, selectUserOfName);
    std::optional<StoredUser> user;
    {
        SqliteQuery query(find, userName);
        user = ReadUser(query);
    }
    if (!user)
    {
        return std::nullopt;
    }
    SqliteStatement change(writer, sql);
    {
        SqliteQuery query(change, user->login.userNumber, parameters...);
        while (query.Next())
        {
        }
    }
    transaction.Commit();
    return user;
}

} // namespace Oxa::System::Um::Internal
