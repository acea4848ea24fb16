#include "Oxa/System/Database/Sqlite.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Oxa::System::Database
{

using System::Commons::InvalidOperationException;
using System::Commons::IsTemporaryError;
using System::Commons::TemporaryException;
namespace Text = System::Commons::Text;

namespace
{

// An administrator's tool on a slow flash card may hold the write lock for this long.
constexpr int busyTimeoutMilliseconds = 5000;

BasicString FormatError(const DatabaseName& name, std::string_view cause)
{
    return Text::Format("cannot use the {0} '{1}': {2}", name.subject, name.path, cause);
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

// The head of the index of the write-ahead log, as SQLite documents it, begins with a version and is there twice. A
// commit changes first the second copy, then the first one.
constexpr int walIndexBytes = 32 * 1024;
constexpr uint32 walIndexVersion = 3007000;

SqliteStamp Load(const volatile uint32* words) noexcept
{
    SqliteStamp stamp{};
    for (uint32& word : stamp)
    {
        word = __atomic_load_n(words++, __ATOMIC_ACQUIRE);
    }
    return stamp;
}

} // namespace

void ThrowDatabaseError(const DatabaseName& name, std::string_view cause)
{
    throw InvalidOperationException(FormatError(name, cause));
}

void ThrowDatabaseErrno(const DatabaseName& name, int error)
{
    System::Commons::ThrowErrno(Text::Format("cannot use the {0} '{1}'", name.subject, name.path), error);
}

SqliteConnection::SqliteConnection(DatabaseName databaseName)
    : name(std::move(databaseName)), handle(nullptr, &sqlite3_close)
{
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(MakeFileName(name.path).c_str(), &opened, flags, nullptr);
    // To be closed even if opening failed.
    handle.reset(opened);
    if (opened == nullptr)
    {
        ThrowDatabaseErrno(name, ENOMEM);
    }
    if (result != SQLITE_OK)
    {
        ThrowLastError();
    }
    sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
    Execute("PRAGMA synchronous = FULL; PRAGMA trusted_schema = OFF");
}

void SqliteConnection::Execute(const char* sql)
{
    if (sqlite3_exec(handle.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        ThrowLastError();
    }
}

int64 SqliteConnection::ReadNumber(const char* sql)
{
    int64 number = 0;
    SqliteStatement statement(*this, sql);
    statement.Run([&] { number = statement.GetInteger(0); });
    return number;
}

bool SqliteConnection::HasWriteAheadLog()
{
    bool isWal = false;
    SqliteStatement statement(*this, "PRAGMA journal_mode");
    statement.Run([&] { isWal = statement.GetText(0) == "wal"; });
    return isWal;
}

// A read would cost the locks of a transaction. The memory stays mapped, and the write-ahead log in use, as long as the
// connection is open.
std::optional<SqliteStamp> SqliteConnection::TryGetStamp() const noexcept
{
    sqlite3_file* file = nullptr;
    volatile void* memory = nullptr;
    if (sqlite3_file_control(handle.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
        file->pMethods->iVersion < 2 || file->pMethods->xShmMap(file, 0, walIndexBytes, 0, &memory) != SQLITE_OK ||
        memory == nullptr)
    {
        return std::nullopt;
    }
    const auto* const words = static_cast<const volatile uint32*>(memory);
    const SqliteStamp stamp = Load(words);
    const bool isWhole = stamp[0] == walIndexVersion && stamp == Load(words + stamp.size());
    return isWhole ? std::optional(stamp) : std::nullopt;
}

void SqliteConnection::ThrowLastError() const
{
    const int primaryCode = sqlite3_errcode(handle.get()) & 0xFF;
    // The file that cannot be opened may be one that SQLite creates beside the database.
    if (primaryCode == SQLITE_CANTOPEN && access(name.path.c_str(), R_OK | W_OK) != 0)
    {
        ThrowDatabaseErrno(name, errno);
    }
    // For other failures SQLite returns the errno of an earlier one.
    const bool isFileError = primaryCode == SQLITE_IOERR || primaryCode == SQLITE_CANTOPEN;
    const int systemError = isFileError ? sqlite3_system_errno(handle.get()) : 0;
    BasicString cause = sqlite3_errmsg(handle.get());
    if (systemError != 0)
    {
        cause += " (" + std::generic_category().message(systemError) + ')';
    }
    if (IsTemporary(primaryCode, systemError))
    {
        throw TemporaryException(FormatError(name, cause));
    }
    ThrowDatabaseError(name, cause);
}

SqliteTransaction::SqliteTransaction(SqliteConnection& connection, Kind kind) : connection(&connection)
{
    connection.Execute(kind == Kind::Write ? "BEGIN IMMEDIATE" : "BEGIN");
}

SqliteTransaction::~SqliteTransaction()
{
    if (connection != nullptr)
    {
        // It fails when an error has rolled the transaction back already.
        (void)sqlite3_exec(connection->handle.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void SqliteTransaction::Commit()
{
    connection->Execute("COMMIT");
    connection = nullptr;
}

SqliteStatement::SqliteStatement(SqliteConnection& connection, const char* sql)
    : connection(connection), handle(nullptr, &sqlite3_finalize)
{
    sqlite3_stmt* prepared = nullptr;
    Check(sqlite3_prepare_v3(connection.handle.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr));
    handle.reset(prepared);
}

int SqliteStatement::Reset(sqlite3_stmt* statement) noexcept
{
    sqlite3_reset(statement);
    return sqlite3_clear_bindings(statement);
}

BasicString SqliteStatement::GetText(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(handle.get(), column));
    const int size = sqlite3_column_bytes(handle.get(), column);
    return text != nullptr ? BasicString(text, static_cast<std::size_t>(size)) : BasicString();
}

int64 SqliteStatement::GetInteger(int column) const
{
    return sqlite3_column_int64(handle.get(), column);
}

std::optional<int64> SqliteStatement::TryGetInteger(int column) const
{
    const bool isNull = sqlite3_column_type(handle.get(), column) == SQLITE_NULL;
    return isNull ? std::nullopt : std::optional(GetInteger(column));
}

void SqliteStatement::Bind(int index, std::string_view text)
{
    Check(sqlite3_bind_text64(handle.get(), index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void SqliteStatement::Bind(int index, int64 number)
{
    Check(sqlite3_bind_int64(handle.get(), index, number));
}

void SqliteStatement::Bind(int index, const std::optional<int64>& number)
{
    Check(number ? sqlite3_bind_int64(handle.get(), index, *number) : sqlite3_bind_null(handle.get(), index));
}

void SqliteStatement::Check(int result) const
{
    if (result != SQLITE_OK)
    {
        connection.ThrowLastError();
    }
}

bool SqliteStatement::Next()
{
    const int result = sqlite3_step(handle.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE)
    {
        connection.ThrowLastError();
    }
    return result == SQLITE_ROW;
}

} // namespace Oxa::System::Database
