#pragma once

#include "Host/Audit/AuditRow.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Database/Sqlite.hpp"

#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::Host::Audit
{

/// Which rows to read. Empty texts match every row.
struct AuditFilter
{
    BasicString user = {};
    BasicString action = {};
    /// From the first time, inclusive, to the second, exclusive; microseconds since 1970, UTC.
    int64 from = std::numeric_limits<int64>::min();
    int64 to = std::numeric_limits<int64>::max();
    /// Only rows with a smaller sequence.
    int64 before = std::numeric_limits<int64>::max();
    std::size_t limit = 50;
};

/// The result of checking a trail.
struct AuditVerdict
{
    AuditHead head;
    /// The first mistake in the chain, naming the row; empty for a trail in order.
    BasicString fault;
};

/// The file of an audit trail: a SQLite database of rows, each chained to the one before by a keyed hash, and beside it
/// the key, PATH.key, for the owner only. A sealed head record holds where the chain begins and ends, so that rows that
/// were changed, added, swapped or removed, at either end too, are found by `Verify`, and by `Append` at the end, which
/// then does not go on. Not found: an older copy of the whole database put in the place of a newer one while no process
/// has it open, and changes by the owner of the state folder or root, who can read the key; the log
/// of the system, which has the same events, tells of those.
///
/// When the file is nearly as large as it may be, the oldest segment, 512 rows, leaves as a whole, and the head records
/// the hash of its last row: what is left stays provable.
///
/// Safe for several processes at the same time. Throws, with path and cause, TemporaryException for a cause that may
/// pass, else InvalidOperationException. Threads: one at a time.
class AuditStore final
{
public:
    static constexpr std::size_t minimumBytes = std::size_t{4} * 1024 * 1024;
    static constexpr int64 segmentRows = 512;

    /// Opens an existing trail for `List` and `Verify`.
    explicit AuditStore(BasicString path);

    /// Opens a trail for everything; makes a missing database, with its key. Refuses one that `RequireTrusted` does.
    /// `maximumBytes`: of the database with the files that SQLite keeps beside it, at least `minimumBytes`.
    AuditStore(BasicString path, std::size_t maximumBytes);

    /// Throws when users other than root and the one of this process could change or remove the trail, which may not
    /// exist yet.
    static void RequireTrusted(const BasicString& path);

    /// Stores the rows, all or none, and sets their sequences and hashes; when it returns they are on the disk.
    void Append(std::vector<AuditRow>& rows);

    /// The newest rows that match, the newest first.
    [[nodiscard]] std::vector<AuditRow> List(const AuditFilter& filter);

    [[nodiscard]] AuditVerdict Verify();

    /// The boot id of the newest run of the host, when the trail does not have its end.
    [[nodiscard]] std::optional<BasicString> FindOpenRun();

private:
    struct SealedHead
    {
        AuditHead head;
        BasicString seal;
    };

    void CheckKind();
    void CreateTables();
    void CreateKey();
    void ReadKey();
    [[nodiscard]] BasicString GetKeyPath() const;
    [[nodiscard]] std::optional<SealedHead> ReadHead();
    [[nodiscard]] AuditHead ReadCheckedHead();
    void WriteHead(const AuditHead& head);
    void RemoveOldSegments(AuditHead& head);
    [[nodiscard]] BasicString FindBrokenRow(const AuditHead& head);
    [[noreturn]] void ThrowKeyError(int error) const;
    [[noreturn]] void ThrowTampered(std::string_view cause) const;

    const System::Database::DatabaseName name;
    AuditKey key;
    System::Database::SqliteConnection connection;
    /// Device and inode of the open file.
    std::pair<uint64, uint64> fileId;
    int64 maximumUsedPages = 0;
    /// Of the newest row that this object has stored: the trail never becomes shorter.
    int64 lastStored = 0;
};

} // namespace Oxa::Host::Audit
