#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace Oxa::System::Um::Internal
{

/// Throws "cannot use the user database '{path}': {cause}".
[[noreturn]] void ThrowDatabaseError(const BasicString& path, std::string_view cause);
[[noreturn]] void ThrowDatabaseErrno(const BasicString& path, int error);

/// One connection to a database file, durable: what has been committed survives a power failure. The collation
/// "caseless" compares texts without case. Everything here throws, with path and cause, TemporaryException for a cause
/// that may pass, else InvalidOperationException. Threads: one at a time.
class SqliteConnection final
{
public:
    /// Requires: the file exists; an empty one is a database without content.
    explicit SqliteConnection(BasicString path);

    /// Runs one or more statements that have neither parameters nor results that matter.
    void Execute(const char* sql);

    /// The first column of the first row; 0 when there is none.
    [[nodiscard]] int64 ReadNumber(const char* sql);

    /// Never null.
    [[nodiscard]] sqlite3* GetHandle() const noexcept
    {
        return handle.get();
    }

    /// Throws with the cause of the last failure of a call on the handle.
    [[noreturn]] void ThrowLastError() const;

private:
    struct Closer
    {
        void operator()(sqlite3* connection) const noexcept;
    };

    BasicString path;
    std::unique_ptr<sqlite3, Closer> handle;
};

/// Owns a prepared statement, run through SqliteQuery. The connection must outlive it.
class SqliteStatement final
{
public:
    SqliteStatement(SqliteConnection& connection, const char* sql);
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;
    ~SqliteStatement();

private:
    friend class SqliteQuery;

    SqliteConnection& connection;
    sqlite3_stmt* handle = nullptr;
};

/// One run of a prepared statement; there is at most one at a time. Its end also ends the implicit transaction.
/// A statement that changes something must be run until `Next` says false: only then it is committed.
class SqliteQuery final
{
public:
    /// Binds the parameters in their order: texts, which must outlive this, and integers.
    template <class... Parameters>
    explicit SqliteQuery(SqliteStatement& statement, const Parameters&... parameters) : statement(statement)
    {
        int index = 0;
        (Bind(++index, parameters), ...);
    }

    SqliteQuery(const SqliteQuery&) = delete;
    SqliteQuery& operator=(const SqliteQuery&) = delete;
    ~SqliteQuery();

    /// Moves to the next row; false after the last one.
    [[nodiscard]] bool Next();

    /// Of the row that it is on; empty for NULL.
    [[nodiscard]] BasicString GetText(int column) const;
    [[nodiscard]] int64 GetInteger(int column) const;

private:
    void Bind(int index, std::string_view text);
    void Bind(int index, int64 number);

    SqliteStatement& statement;
};

/// Several statements that happen together or not at all; no other process writes meanwhile. Undone unless committed.
class SqliteTransaction final
{
public:
    explicit SqliteTransaction(SqliteConnection& connection);
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;
    ~SqliteTransaction();

    void Commit();

private:
    SqliteConnection& connection;
};

} // namespace Oxa::System::Um::Internal
