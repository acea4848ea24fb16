#include "Host/Audit/AuditStore.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/TrustedPath.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>

namespace Oxa::Host::Audit
{

using System::Commons::FileDescriptor;
using System::Commons::Text::Format;
using System::Database::DatabaseName;
using System::Database::SqliteStatement;
using System::Database::SqliteTransaction;
using System::Nm::GetNotificationKindName;
using System::Nm::NotificationKind;

namespace
{

constexpr const char* subject = "audit trail";

// "OxaA": tells an audit trail from other databases.
constexpr int64 applicationId = 0x4F786141;
constexpr int64 schemaVersion = 1;

constexpr const char* createTables = R"sql(
CREATE TABLE rows (
    sequence INTEGER PRIMARY KEY,
    time INTEGER NOT NULL,
    user TEXT NOT NULL,
    address TEXT NOT NULL,
    action TEXT NOT NULL,
    object TEXT NOT NULL,
    outcome TEXT NOT NULL,
    bootId TEXT NOT NULL,
    requestId TEXT NOT NULL,
    details TEXT NOT NULL,
    hash TEXT NOT NULL
) STRICT;
CREATE TABLE head (
    number INTEGER PRIMARY KEY CHECK (number = 1),
    firstSequence INTEGER NOT NULL,
    startHash TEXT NOT NULL,
    lastSequence INTEGER NOT NULL,
    lastHash TEXT NOT NULL,
    seal TEXT NOT NULL
) STRICT;
)sql";

constexpr const char* rowColumns =
    "sequence, time, user, address, action, object, outcome, bootId, requestId, details, hash";

constexpr std::size_t pageBytes = 4096;
/// The write-ahead log is copied into the database when it has this many pages.
constexpr std::size_t logPages = 100;
/// Of the bytes allowed, those for the write-ahead log and its index: a transaction may begin when the log is almost
/// full.
constexpr std::size_t companionBytes = std::size_t{1} * 1024 * 1024;

std::pair<uint64, uint64> GetFileId(const DatabaseName& name)
{
    struct stat status = {};
    if (stat(name.path.c_str(), &status) != 0)
    {
        System::Database::ThrowDatabaseErrno(name, errno);
    }
    return {status.st_dev, status.st_ino};
}

/// An empty file becomes a database without content. Does not open an existing one: closing it would drop the locks
/// that other connections of this process hold.
const DatabaseName& CreateFile(const DatabaseName& name)
{
    AuditStore::RequireTrusted(name.path);
    struct stat status = {};
    if (lstat(name.path.c_str(), &status) != 0)
    {
        const int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
        if (!FileDescriptor(open(name.path.c_str(), flags, S_IRUSR | S_IWUSR)).IsOpen() && errno != EEXIST)
        {
            System::Database::ThrowDatabaseErrno(name, errno);
        }
    }
    return name;
}

/// On the disk when it returns true; else false with errno.
bool TryWriteKeyFile(const BasicString& path, AuditKey& key)
{
    const BasicString newPath = path + ".new";
    // Left by a process that was interrupted.
    unlink(newPath.c_str());
    const FileDescriptor file(open(newPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    const BasicString folderPath = std::filesystem::path(path).parent_path().string();
    const FileDescriptor folder(
        open(folderPath.empty() ? "." : folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto& bytes = key.GetBytes();
    return file.IsOpen() && write(file.Get(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
           fsync(file.Get()) == 0 && rename(newPath.c_str(), path.c_str()) == 0 && fsync(folder.Get()) == 0;
}

AuditRow ReadRow(const SqliteStatement& statement)
{
    return {statement.GetInteger(0), statement.GetInteger(1), statement.GetText(2), statement.GetText(3),
            statement.GetText(4),    statement.GetText(5),    statement.GetText(6), statement.GetText(7),
            statement.GetText(8),    statement.GetText(9),    statement.GetText(10)};
}

} // namespace

AuditStore::AuditStore(BasicString path) : name{std::move(path), subject}, connection(name), fileId(GetFileId(name))
{
    CheckKind();
}

AuditStore::AuditStore(BasicString path, std::size_t maximumBytes)
    : name{std::move(path), subject}, connection(CreateFile(name)), fileId(GetFileId(name))
{
    if (connection.ReadNumber("PRAGMA application_id") == 0)
    {
        CreateTables();
    }
    CheckKind();
    ReadKey();
    const std::size_t pages = (std::max(maximumBytes, minimumBytes) - companionBytes) / pageBytes;
    connection.Execute(
        Format("PRAGMA cache_size = {0}; PRAGMA wal_autocheckpoint = {0}; PRAGMA journal_size_limit = {1};"
               "PRAGMA max_page_count = {2}",
               logPages, logPages * pageBytes, pages)
            .c_str());
    maximumUsedPages = static_cast<int64>(pages - pages / 8);
}

void AuditStore::RequireTrusted(const BasicString& path)
{
    // Its key is checked when it is read.
    for (const char* const suffix : {"", "-wal", "-shm"})
    {
        if (const auto weakness = System::Commons::FindOptionalPathWeakness(path + suffix))
        {
            System::Database::ThrowDatabaseError({path, subject}, "other users could change it: " + *weakness);
        }
    }
}

void AuditStore::CheckKind()
{
    if (connection.ReadNumber("PRAGMA application_id") != applicationId)
    {
        System::Database::ThrowDatabaseError(name, "it is a database of another program, or without content");
    }
    if (const int64 version = connection.ReadNumber("PRAGMA user_version"); version > schemaVersion)
    {
        System::Database::ThrowDatabaseError(
            name,
            Format("its version {0} is newer than version {1}, the newest that is known here", version, schemaVersion));
    }
}

/// One transaction, so that of several processes one makes the key.
void AuditStore::CreateTables()
{
    SqliteTransaction transaction(connection, SqliteTransaction::Kind::Write);
    if (connection.ReadNumber("SELECT count(*) FROM sqlite_schema") == 0)
    {
        struct stat status = {};
        // Kept when the database of an earlier trail was moved away, which can be verified with it.
        if (lstat(GetKeyPath().c_str(), &status) != 0)
        {
            CreateKey();
        }
        ReadKey();
        connection.Execute(createTables);
        WriteHead({});
        connection.Execute(
            Format("PRAGMA application_id = {0}; PRAGMA user_version = {1}", applicationId, schemaVersion).c_str());
    }
    transaction.Commit();
    // Readers then never wait for a writer. The mode is stored in the file.
    connection.Execute("PRAGMA journal_mode = WAL");
}

void AuditStore::CreateKey()
{
    randombytes_buf(key.GetBytes().data(), AuditKey::byteCount);
    if (!TryWriteKeyFile(GetKeyPath(), key))
    {
        ThrowKeyError(errno);
    }
}

void AuditStore::ReadKey()
{
    const FileDescriptor file(open(GetKeyPath().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0)
    {
        ThrowKeyError(errno);
    }
    const bool isSecret = S_ISREG(status.st_mode) && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0 &&
                          (status.st_uid == geteuid() || status.st_uid == 0);
    if (!isSecret || status.st_size != static_cast<off_t>(AuditKey::byteCount) ||
        read(file.Get(), key.GetBytes().data(), AuditKey::byteCount) != static_cast<ssize_t>(AuditKey::byteCount))
    {
        System::Database::ThrowDatabaseError(
            name, Format("its key '{0}' must be a file of {1} bytes that only its owner, this user, can use",
                         GetKeyPath(), AuditKey::byteCount));
    }
}

BasicString AuditStore::GetKeyPath() const
{
    return name.path + ".key";
}

void AuditStore::ThrowKeyError(int error) const
{
    System::Commons::ThrowErrno(Format("cannot use the key '{0}' of the audit trail", GetKeyPath()), error);
}

void AuditStore::Append(std::vector<AuditRow>& rows)
{
    // Writing to a file without a name would lose the rows unnoticed.
    if (fileId != GetFileId(name))
    {
        System::Database::ThrowDatabaseError(name, "it was removed or replaced by another file");
    }
    SqliteTransaction transaction(connection, SqliteTransaction::Kind::Write);
    AuditHead head = ReadCheckedHead();
    SqliteStatement insert(connection,
                           Format("INSERT INTO rows ({0}) VALUES (?,?,?,?,?,?,?,?,?,?,?)", rowColumns).c_str());
    for (AuditRow& row : rows)
    {
        row.sequence = ++head.lastSequence;
        row.hash = key.HashRow(row, head.lastHash);
        head.lastHash = row.hash;
        insert.Run([] {}, row.sequence, row.microseconds, row.user, row.address, row.action, row.object, row.outcome,
                   row.bootId, row.requestId, row.details, row.hash);
    }
    RemoveOldSegments(head);
    WriteHead(head);
    transaction.Commit();
    lastStored = head.lastSequence;
}

std::optional<AuditStore::SealedHead> AuditStore::ReadHead()
{
    std::optional<SealedHead> result;
    SqliteStatement statement(connection, "SELECT firstSequence, startHash, lastSequence, lastHash, seal FROM head");
    statement.Run(
        [&]
        {
            result = SealedHead{
                {statement.GetInteger(0), statement.GetText(1), statement.GetInteger(2), statement.GetText(3)},
                statement.GetText(4)};
        });
    return result;
}

/// Sealing what does not fit would hide that the trail was tampered with.
AuditHead AuditStore::ReadCheckedHead()
{
    const auto sealed = ReadHead();
    if (!sealed || sealed->seal != key.SealHead(sealed->head))
    {
        ThrowTampered("its head record was changed");
    }
    const AuditHead& head = sealed->head;
    if (head.lastSequence < lastStored)
    {
        ThrowTampered(Format("it ends at row {0}, but row {1} was stored", head.lastSequence, lastStored));
    }
    int64 lastSequence = head.firstSequence - 1;
    BasicString lastHash = head.startHash;
    SqliteStatement last(connection, "SELECT sequence, hash FROM rows ORDER BY sequence DESC LIMIT 1");
    last.Run(
        [&]
        {
            lastSequence = last.GetInteger(0);
            lastHash = last.GetText(1);
        });
    if (lastSequence != head.lastSequence || lastHash != head.lastHash)
    {
        ThrowTampered(Format("row {0} is not the last one", head.lastSequence));
    }
    return head;
}

void AuditStore::WriteHead(const AuditHead& head)
{
    SqliteStatement(connection,
                    "INSERT OR REPLACE INTO head (number, firstSequence, startHash, lastSequence, lastHash, "
                    "seal) VALUES (1, ?, ?, ?, ?, ?)")
        .Run([] {}, head.firstSequence, head.startHash, head.lastSequence, head.lastHash, key.SealHead(head));
}

void AuditStore::RemoveOldSegments(AuditHead& head)
{
    const auto countUsedPages = [this]
    {
        return connection.ReadNumber("PRAGMA page_count") - connection.ReadNumber("PRAGMA freelist_count");
    };
    SqliteStatement find(connection, "SELECT hash FROM rows WHERE sequence = ?");
    SqliteStatement remove(connection, "DELETE FROM rows WHERE sequence < ?");
    while (countUsedPages() > maximumUsedPages)
    {
        const int64 nextSegment = (head.firstSequence / segmentRows + 1) * segmentRows;
        if (nextSegment > head.lastSequence)
        {
            return;
        }
        find.Run([&] { head.startHash = find.GetText(0); }, nextSegment - 1);
        remove.Run([] {}, nextSegment);
        head.firstSequence = nextSegment;
    }
}

std::vector<AuditRow> AuditStore::List(const AuditFilter& filter)
{
    std::vector<AuditRow> rows;
    SqliteStatement statement(connection,
                              Format("SELECT {0} FROM rows WHERE sequence < ? AND time >= ? AND time < ? AND "
                                     "?4 IN ('', user) AND ?5 IN ('', action) ORDER BY sequence DESC LIMIT ?6",
                                     rowColumns)
                                  .c_str());
    statement.Run([&] { rows.push_back(ReadRow(statement)); }, filter.before, filter.from, filter.to, filter.user,
                  filter.action, static_cast<int64>(filter.limit));
    return rows;
}

std::optional<BasicString> AuditStore::FindOpenRun()
{
    const std::string_view startAction = GetNotificationKindName(NotificationKind::HostStarted);
    const std::string_view stopAction = GetNotificationKindName(NotificationKind::HostStopped);
    std::optional<BasicString> openRun;
    bool isBeginKnown = false;
    SqliteStatement find(connection,
                         "SELECT action, bootId FROM rows WHERE action IN (?, ?) ORDER BY sequence DESC LIMIT 1");
    find.Run(
        [&]
        {
            isBeginKnown = true;
            openRun = find.GetText(0) == startAction ? std::optional(find.GetText(1)) : std::nullopt;
        },
        startAction, stopAction);
    const auto sealed = ReadHead();
    if (isBeginKnown || !sealed || sealed->head.firstSequence == 1)
    {
        return openRun;
    }
    // It began so long ago that the row has left.
    const auto newest = List({.limit = 1});
    return newest.empty() ? std::nullopt : std::optional(newest.front().bootId);
}

AuditVerdict AuditStore::Verify()
{
    ReadKey();
    // One state of the database for all that follows.
    const SqliteTransaction transaction(connection, SqliteTransaction::Kind::Read);
    const auto sealed = ReadHead();
    AuditVerdict verdict{sealed ? sealed->head : AuditHead(), {}};
    if (!sealed || sealed->seal != key.SealHead(sealed->head))
    {
        verdict.fault = sealed ? "the head record was changed" : "the head record is missing";
    }
    else
    {
        verdict.fault = FindBrokenRow(sealed->head);
    }
    return verdict;
}

/// Empty when the rows are those that the head promises.
BasicString AuditStore::FindBrokenRow(const AuditHead& head)
{
    int64 expected = head.firstSequence;
    BasicString previousHash = head.startHash;
    BasicString fault;
    SqliteStatement statement(connection, Format("SELECT {0} FROM rows ORDER BY sequence", rowColumns).c_str());
    statement.Run(
        [&]
        {
            if (!fault.empty())
            {
                return;
            }
            const AuditRow row = ReadRow(statement);
            if (row.sequence != expected)
            {
                fault = row.sequence < expected ? Format("row {0} was added", row.sequence)
                                                : Format("row {0} is missing", expected);
            }
            else if (row.sequence > head.lastSequence)
            {
                fault = Format("row {0} was added", row.sequence);
            }
            else if (row.hash != key.HashRow(row, previousHash))
            {
                fault = Format("row {0} was changed", row.sequence);
            }
            previousHash = row.hash;
            ++expected;
        });
    if (fault.empty() && expected <= head.lastSequence)
    {
        fault = Format("row {0} is missing", expected);
    }
    if (fault.empty() && previousHash != head.lastHash)
    {
        fault = Format("row {0} was changed", head.lastSequence);
    }
    return fault;
}

void AuditStore::ThrowTampered(std::string_view cause) const
{
    System::Database::ThrowDatabaseError(
        name, Format("{0}; look at it with 'oxa-wbm audit verify', then move it away to begin a new one", cause));
}

} // namespace Oxa::Host::Audit
