#pragma once

namespace Oxa::System::Um::Internal
{

class SqliteConnection;

/// Several statements that happen together or not at all; no other process writes meanwhile. Undone unless committed.
/// Threads: as the connection. Throws InvalidOperationException with path and cause.
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
