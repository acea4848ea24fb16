#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace Oxa::System::Database
{

/// A database file, as messages name it.
struct DatabaseName
{
    BasicString path;
    /// For instance "user database".
    const char* subject;
};

/// These throw "cannot use the {subject} '{path}': {cause}".
[[noreturn]] void ThrowDatabaseError(const DatabaseName& name, std::string_view cause);
[[noreturn]] void ThrowDatabaseErrno(const DatabaseName& name, int error);

/// One connection to a database file, durable: what has been committed survives a power failure. The collation
/// "caseless" compares texts without case. A transaction that is not committed is rolled back when the connection is
/// closed. Everything here throws, with path and cause, TemporaryException for a cause that may pass, else
/// InvalidOperationException. Threads: one at a time.
class SqliteConnection final
{
public:
    /// Requires: the file exists; an empty one is a database without content.
    explicit SqliteConnection(DatabaseName name);

    /// Runs one or more statements that have neither parameters nor results.
    void Execute(const char* sql);

    /// The first column of the first row; 0 without rows.
    [[nodiscard]] int64 ReadNumber(const char* sql);

private:
    friend class SqliteStatement;

    /// Throws with the cause of the last failure of a call on the handle.
    [[noreturn]] void ThrowLastError() const;

    DatabaseName name;
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> handle;
};

/// A prepared statement, which may run several times. The connection must outlive it.
class SqliteStatement final
{
public:
    SqliteStatement(SqliteConnection& connection, const char* sql);

    /// Runs to the end, which also commits unless a transaction is open, and calls `onRow` for each row. The parameters
    /// are texts and integers in the order of the statement's.
    template <class OnRow, class... Parameters>
    void Run(const OnRow& onRow, const Parameters&... parameters)
    {
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> run(handle.get(), &Reset);
        int index = 0;
        (Bind(++index, parameters), ...);
        while (Next())
        {
            onRow();
        }
    }

    /// Columns of the current row, for `onRow`; empty and 0 for NULL.
    [[nodiscard]] BasicString GetText(int column) const;
    [[nodiscard]] int64 GetInteger(int column) const;

private:
    static int Reset(sqlite3_stmt* statement) noexcept;
    void Bind(int index, std::string_view text);
    void Bind(int index, int64 number);
    void Check(int result) const;
    [[nodiscard]] bool Next();

    SqliteConnection& connection;
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> handle;
};

} // namespace Oxa::System::Database
