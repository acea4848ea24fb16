#include "Oxa/System/Um/Internal/SqliteStatement.hpp"

#include "Oxa/System/Um/Internal/SqliteConnection.hpp"

#include <sqlite3.h>

namespace Oxa::System::Um::Internal
{

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

SqliteConnection& SqliteStatement::GetConnection() const noexcept
{
    return connection;
}

sqlite3_stmt* SqliteStatement::GetHandle() const noexcept
{
    return handle;
}

} // namespace Oxa::System::Um::Internal
