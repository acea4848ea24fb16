#include "Oxa/System/Um/Internal/Sqlite.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Oxa::System::Um::Internal
{

using System::Commons::InvalidOperationException;
using System::Commons::IsTemporaryError;
using System::Commons::TemporaryException;
namespace Text = System::Commons::Text;

namespace
{

// As long as an administrator's tool on a slow flash card may hold the write lock.
constexpr int busyTimeoutMilliseconds = 5000;

BasicString FormatError(const BasicString& path, std::string_view cause)
{
    return Text::Format("cannot use the user database '{0}': {1}", path, cause);
}

/// SQLite gives names such as ":memory:" a meaning of their own; a path is always a file.
BasicString MakeFileName(const BasicString& path)
{
    return path.starts_with('/') ? path : "./" + path;
}

bool IsTemporary(int primaryCode, int systemError) noexcept
{
    switch (primaryCode)
    {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_NOMEM:
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_READONLY:
    case SQLITE_PROTOCOL:
        return true;
    default:
        return IsTemporaryError(systemError);
    }
}

extern "C" int CompareCaseless(void* /*context*/, int leftBytes, const void* left, int rightBytes, const void* right)
{
    const std::string_view leftText(static_cast<const char*>(left), static_cast<std::size_t>(leftBytes));
    const std::string_view rightText(static_cast<const char*>(right), static_cast<std::size_t>(rightBytes));
    return Text::FoldCase(leftText).compare(Text::FoldCase(rightText));
}

} // namespace

void ThrowDatabaseError(const BasicString& path, std::string_view cause)
{
    throw InvalidOperationException(FormatError(path, cause));
}

void ThrowDatabaseErrno(const BasicString& path, int error)
{
    System::Commons::ThrowErrno(Text::Format("cannot use the user database '{0}'", path), error);
}

SqliteConnection::SqliteConnection(BasicString databasePath) : path(std::move(databasePath))
{
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(MakeFileName(path).c_str(), &opened, flags, nullptr);
    // Has to be closed also when it could not be opened.
    handle.reset(opened);
    if (opened == nullptr)
    {
        ThrowDatabaseErrno(path, ENOMEM);
    }
    if (result != SQLITE_OK)
    {
        ThrowLastError();
    }
    sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
    if (sqlite3_create_collation(opened, "caseless", SQLITE_UTF8, nullptr, &CompareCaseless) != SQLITE_OK)
    {
        ThrowLastError();
    }
    Execute("PRAGMA synchronous = FULL; PRAGMA trusted_schema = OFF");
}

void SqliteConnection::Closer::operator()(sqlite3* connection) const noexcept
{
    sqlite3_close(connection);
}

void SqliteConnection::Execute(const char* sql)
{
    if (sqlite3_exec(GetHandle(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        ThrowLastError();
    }
}

int64 SqliteConnection::ReadNumber(const char* sql)
{
    SqliteStatement statement(*this, sql);
    SqliteQuery query(statement);
    return query.Next() ? query.GetInteger(0) : 0;
}

void SqliteConnection::ThrowLastError() const
{
    const int primaryCode = sqlite3_errcode(GetHandle()) & 0xFF;
    // What cannot be opened may be a file beside the database, which SQLite would have to make.
    if (primaryCode == SQLITE_CANTOPEN && access(path.c_str(), R_OK | W_OK) != 0)
    {
        ThrowDatabaseErrno(path, errno);
    }
    // Of other failures SQLite does not know the errno, and tells that of an earlier one.
    const bool isFileError = primaryCode == SQLITE_IOERR || primaryCode == SQLITE_CANTOPEN;
    const int systemError = isFileError ? sqlite3_system_errno(GetHandle()) : 0;
    BasicString cause = sqlite3_errmsg(GetHandle());
    if (systemError != 0)
    {
        cause += " (" + std::generic_category().message(systemError) + ')';
    }
    if (IsTemporary(primaryCode, systemError))
    {
        throw TemporaryException(FormatError(path, cause));
    }
    ThrowDatabaseError(path, cause);
}

SqliteStatement::SqliteStatement(SqliteConnection& connection, const char* sql) : connection(connection)
{
    if (sqlite3_prepare_v3(connection.GetHandle(), sql, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr) != SQLITE_OK)
    {
        connection.ThrowLastError();
    }
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(handle);
}

SqliteQuery::~SqliteQuery()
{
    sqlite3_reset(statement.handle);
    sqlite3_clear_bindings(statement.handle);
}

bool SqliteQuery::Next()
{
    switch (sqlite3_step(statement.handle))
    {
    case SQLITE_ROW:
        return true;
    case SQLITE_DONE:
        return false;
    default:
        statement.connection.ThrowLastError();
    }
}

BasicString SqliteQuery::GetText(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement.handle, column));
    const int size = sqlite3_column_bytes(statement.handle, column);
    return text != nullptr ? BasicString(text, static_cast<std::size_t>(size)) : BasicString();
}

int64 SqliteQuery::GetInteger(int column) const
{
    return sqlite3_column_int64(statement.handle, column);
}

void SqliteQuery::Bind(int index, std::string_view text)
{
    if (sqlite3_bind_text64(statement.handle, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8) != SQLITE_OK)
    {
        statement.connection.ThrowLastError();
    }
}

void SqliteQuery::Bind(int index, int64 number)
{
    if (sqlite3_bind_int64(statement.handle, index, number) != SQLITE_OK)
    {
        statement.connection.ThrowLastError();
    }
}

SqliteTransaction::SqliteTransaction(SqliteConnection& connection) : connection(connection)
{
    // Takes the write lock at once: taken later, it could be refused after what was read is out of date.
    connection.Execute("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction()
{
    // Some failures have ended the transaction already.
    if (sqlite3_get_autocommit(connection.GetHandle()) == 0)
    {
        sqlite3_exec(connection.GetHandle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void SqliteTransaction::Commit()
{
    connection.Execute("COMMIT");
}

} // namespace Oxa::System::Um::Internal
