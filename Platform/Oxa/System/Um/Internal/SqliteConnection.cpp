#include "Oxa/System/Um/Internal/SqliteConnection.hpp"

#include "Oxa/System/Um/Internal/DatabaseError.hpp"

#include <sqlite3.h>

#include <utility>

namespace Oxa::System::Um::Internal
{

namespace
{

// As long as an administrator's tool on a slow flash card may hold the write lock.
constexpr int busyTimeoutMilliseconds = 5000;

/// SQLite gives names such as ":memory:" a meaning of their own; a path is always a file.
BasicString MakeFileName(const BasicString& path)
{
    return path.starts_with('/') ? path : "./" + path;
}

} // namespace

SqliteConnection::SqliteConnection(BasicString databasePath) : path(std::move(databasePath))
{
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(MakeFileName(path).c_str(), &opened, flags, nullptr);
    // Has to be closed also when it could not be opened.
    handle.reset(opened);
    if (result != SQLITE_OK)
    {
        throw MakeDatabaseError(path, sqlite3_errstr(result));
    }
    sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
    Execute("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON; PRAGMA trusted_schema = OFF");
}

void SqliteConnection::Closer::operator()(sqlite3* connection) const noexcept
{
    sqlite3_close(connection);
}

void SqliteConnection::Execute(const char* sql)
{
    if (!TryExecute(sql))
    {
        ThrowLastError();
    }
}

bool SqliteConnection::TryExecute(const char* sql) noexcept
{
    return sqlite3_exec(GetHandle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool SqliteConnection::IsBusy() const noexcept
{
    constexpr int primaryCode = 0xFF;
    return (sqlite3_extended_errcode(GetHandle()) & primaryCode) == SQLITE_BUSY;
}

sqlite3* SqliteConnection::GetHandle() const noexcept
{
    return handle.get();
}

void SqliteConnection::ThrowLastError() const
{
    throw MakeDatabaseError(path, sqlite3_errmsg(GetHandle()));
}

} // namespace Oxa::System::Um::Internal
