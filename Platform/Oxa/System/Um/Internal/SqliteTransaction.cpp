#include "Oxa/System/Um/Internal/SqliteTransaction.hpp"

#include "Oxa/System/Um/Internal/SqliteConnection.hpp"

#include <sqlite3.h>

namespace Oxa::System::Um::Internal
{

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
        (void)connection.TryExecute("ROLLBACK");
    }
}

void SqliteTransaction::Commit()
{
    connection.Execute("COMMIT");
}

} // namespace Oxa::System::Um::Internal
