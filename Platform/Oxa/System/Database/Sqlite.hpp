#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
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

/// Identifies a state of a database: two are equal when nothing was committed between them.
using SqliteStamp = std::array<uint32, 12>;

/// One connection to a database file, durable: what has been committed survives a power failure. A transaction that is
/// not committed is rolled back when the connection is closed. Everything here throws, with path and cause,
/// TemporaryException for a cause that may pass, else InvalidOperationException. Threads: one at a time.
class SqliteConnection final
{
public:
    /// Requires: the file exists; an empty one is a database without content.
    explicit SqliteConnection(DatabaseName name);

    /// Runs one or more statements that have neither parameters nor results.
    void Execute(const char* sql);

    /// The first column of the first row; 0 without rows.
    [[nodiscard]] int64 ReadNumber(const char* sql);

    [[nodiscard]] bool HasWriteAheadLog();

    /// Of the present state or, while a commit is in progress, of the one before; without a system call. Nothing when
    /// that cannot be told, for instance where the memory that connections share is missing.
    /// Requires: `HasWriteAheadLog`.
    [[nodiscard]] std::optional<SqliteStamp> TryGetStamp() const noexcept;

private:
    friend class SqliteStatement;
    friend class SqliteTransaction;

    /// Throws with the cause of the last failure of a call on the handle.
    [[noreturn]] void ThrowLastError() const;

    DatabaseName name;
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> handle;
};

/// A transaction, rolled back when it is destroyed without `Commit`. The connection must outlive it.
class SqliteTransaction final
{
public:
    enum class Kind : uint8
    {
        Read,
        /// Takes the write lock at once: taken later, it could be refused because what was read is out of date.
        Write
    };

    SqliteTransaction(SqliteConnection& connection, Kind kind);
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;
    ~SqliteTransaction();

    void Commit();

private:
    SqliteConnection* connection;
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
    /// Nothing for NULL.
    [[nodiscard]] std::optional<int64> TryGetInteger(int column) const;

private:
    static int Reset(sqlite3_stmt* statement) noexcept;
    void Bind(int index, std::string_view text);
    void Bind(int index, int64 number);
    void Bind(int index, const std::optional<int64>& number);
    void Check(int result) const;
    [[nodiscard]] bool Next();

    SqliteConnection& connection;
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> handle;
};

} // namespace Oxa::System::Database
