#pragma once

struct sqlite3_stmt;

namespace Oxa::System::Um::Internal
{

class SqliteConnection;

/// Owns a prepared statement, run through SqliteQuery. The connection must outlive it. Threads: as the connection.
class SqliteStatement final
{
public:
    /// Throws InvalidOperationException when the statement does not fit the database.
    SqliteStatement(SqliteConnection& connection, const char* sql);
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;
    ~SqliteStatement();

    [[nodiscard]] SqliteConnection& GetConnection() const noexcept;

    /// Never null.
    [[nodiscard]] sqlite3_stmt* GetHandle() const noexcept;

private:
    SqliteConnection& connection;
    sqlite3_stmt* handle = nullptr;
};

} // namespace Oxa::System::Um::Internal
