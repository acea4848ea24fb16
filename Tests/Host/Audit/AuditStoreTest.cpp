#include "Host/Audit/AuditStore.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <thread>

namespace Oxa::Host::Audit
{
namespace
{

using System::Commons::InvalidOperationException;
using System::Database::SqliteConnection;
using System::Nm::Notification;
using System::Nm::NotificationKind;
using testing::HasSubstr;

AuditRow MakeRow(const BasicString& object, const BasicString& user = "anna")
{
    Notification notification;
    notification.kind = NotificationKind::CommandExecuted;
    notification.source = "Test";
    notification.user = user;
    notification.text = object;
    return MakeAuditRow(notification, "boot");
}

class AuditStores : public testing::Test
{
protected:
    void Append(AuditStore& store, std::size_t count) const
    {
        std::vector<AuditRow> rows;
        for (std::size_t number = 0; number < count; ++number)
        {
            rows.push_back(MakeRow("object " + std::to_string(number)));
        }
        store.Append(rows);
    }

    [[nodiscard]] BasicString GetAppendError(AuditStore& store) const
    {
        try
        {
            Append(store, 1);
            return {};
        }
        catch (const InvalidOperationException& exception)
        {
            return exception.GetMessage();
        }
    }

    [[nodiscard]] BasicString GetOpenError() const
    {
        try
        {
            AuditStore store(path, AuditStore::minimumBytes);
            return {};
        }
        catch (const InvalidOperationException& exception)
        {
            return exception.GetMessage();
        }
    }

    void Execute(const char* sql) const
    {
        SqliteConnection({path, "test"}).Execute(sql);
    }

    [[nodiscard]] std::uintmax_t CountBytes() const
    {
        std::uintmax_t bytes = 0;
        for (const auto& file : std::filesystem::directory_iterator(folder.GetPath()))
        {
            bytes += file.file_size();
        }
        return bytes;
    }

    Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("audit.sqlite");
};

TEST_F(AuditStores, AreNotUsedWhereOtherUsersCouldChangeThem)
{
    namespace fs = std::filesystem;
    const BasicString cause = "cannot use the audit trail '" + path + "': other users could change it: '";
    fs::permissions(folder.GetPath(), fs::perms{0757});
    EXPECT_EQ(GetOpenError(), cause + folder.GetPath() + "' can be written by everybody");
    EXPECT_TRUE(fs::is_empty(folder.GetPath()));
    fs::permissions(folder.GetPath(), fs::perms{0755});
    AuditStore store(path, AuditStore::minimumBytes);
    Append(store, 1);
    for (const char* const suffix : {"", "-wal", "-shm"})
    {
        fs::permissions(path + suffix, fs::perms{0602});
        EXPECT_THAT(GetOpenError(), HasSubstr(suffix + BasicString("' can be written by everybody"))) << suffix;
        fs::permissions(path + suffix, fs::perms{0600});
    }
    EXPECT_EQ(GetOpenError(), "");
    fs::permissions(folder.GetPath(), fs::perms{0757});
    EXPECT_EQ(AuditStore(path).Verify().head.lastSequence, 1) << "what is there can still be examined";
}

TEST_F(AuditStores, FindEveryChangeOfTheChainAndDoNotGoOnBehindAChangedEnd)
{
    struct Case
    {
        const char* sql;
        const char* fault;
        /// Else the change is before the last row, and only a check of the whole finds it.
        bool isAtTheEnd;
    };

    const Case cases[] = {
        {"UPDATE rows SET user = 'eve' WHERE sequence = 3", "row 3 was changed", false},
        {"UPDATE rows SET user = '', address = user WHERE sequence = 3", "row 3 was changed", false},
        {"UPDATE rows SET time = time + 1 WHERE sequence = 1", "row 1 was changed", false},
        {"UPDATE rows SET hash = (SELECT hash FROM rows WHERE sequence = 2) WHERE sequence = 3", "row 3 was changed",
         false},
        {"UPDATE rows SET object = 'x' WHERE sequence = 6", "row 6 was changed", false},
        {"UPDATE rows SET hash = 'x' WHERE sequence = 6", "row 6 was changed", true},
        {"DELETE FROM rows WHERE sequence = 3", "row 3 is missing", false},
        {"UPDATE rows SET sequence = 99 WHERE sequence = 3; UPDATE rows SET sequence = 3 WHERE sequence = 4;"
         "UPDATE rows SET sequence = 4 WHERE sequence = 99",
         "row 3 was changed", false},
        {"DELETE FROM rows WHERE sequence <= 2", "row 1 is missing", false},
        {"DELETE FROM rows WHERE sequence >= 5", "row 5 is missing", true},
        {"DELETE FROM rows", "row 1 is missing", true},
        {"DELETE FROM rows WHERE sequence >= 5; UPDATE head SET lastSequence = 4, "
         "lastHash = (SELECT hash FROM rows WHERE sequence = 4)",
         "the head record was changed", true},
        {"DELETE FROM rows WHERE sequence <= 2; UPDATE head SET firstSequence = 3", "the head record was changed",
         true},
        {"INSERT INTO rows SELECT 7, time, user, address, action, object, outcome, bootId, requestId, details, hash "
         "FROM rows WHERE sequence = 6",
         "row 7 was added", true},
        {"INSERT INTO rows SELECT 0, time, user, address, action, object, outcome, bootId, requestId, details, hash "
         "FROM rows WHERE sequence = 6",
         "row 0 was added", false},
        {"DELETE FROM head", "the head record is missing", true},
    };
    for (const auto& [sql, fault, isAtTheEnd] : cases)
    {
        for (const char* const suffix : {"", "-wal", "-shm"})
        {
            std::filesystem::remove(path + suffix);
        }
        AuditStore store(path, AuditStore::minimumBytes);
        Append(store, 2);
        Append(store, 4);
        ASSERT_EQ(store.Verify().fault, "");
        Execute(sql);
        EXPECT_EQ(store.Verify().fault, fault) << sql;
        EXPECT_EQ(GetAppendError(store).empty(), !isAtTheEnd) << sql;
        EXPECT_NE(store.Verify().fault, "") << "one more row hides it: " << sql;
    }
}

TEST_F(AuditStores, NoticeAnEarlierStateOfTheWholeTrailWhileTheyAreOpen)
{
    AuditStore store(path, AuditStore::minimumBytes);
    Append(store, 2);
    Execute("CREATE TABLE earlier AS SELECT * FROM head");
    Append(store, 2);
    Execute("DELETE FROM rows WHERE sequence > 2; DELETE FROM head; INSERT INTO head SELECT * FROM earlier");
    EXPECT_THAT(GetAppendError(store), HasSubstr("it ends at row 2, but row 4 was stored"));
}

TEST_F(AuditStores, NoticeThatTheirFileWasTakenAway)
{
    AuditStore store(path, AuditStore::minimumBytes);
    Append(store, 1);
    std::filesystem::rename(path, path + ".old");
    EXPECT_THAT(GetAppendError(store), HasSubstr("No such file"));
    AuditStore other(path, AuditStore::minimumBytes);
    Append(other, 1);
    EXPECT_THAT(GetAppendError(store), HasSubstr("it was removed or replaced by another file"));
}

TEST_F(AuditStores, GoOnAfterAnotherProcessHasStoredRows)
{
    {
        std::vector<std::jthread> threads;
        for (int number = 0; number < 3; ++number)
        {
            threads.emplace_back(
                [this]
                {
                    AuditStore store(path, AuditStore::minimumBytes);
                    for (int count = 0; count < 20; ++count)
                    {
                        Append(store, 1);
                    }
                });
        }
    }
    const AuditVerdict verdict = AuditStore(path).Verify();
    EXPECT_EQ(verdict.fault, "");
    EXPECT_EQ(verdict.head.lastSequence, 60);
}

TEST_F(AuditStores, LetTheOldestSegmentsLeaveWhenTheyAreFullAndStayProvable)
{
    AuditStore store(path, AuditStore::minimumBytes);
    std::vector<AuditRow> rows(200, MakeRow(BasicString(256, 'x')));
    std::uintmax_t mostBytes = 0;
    for (int count = 0; count < 100; ++count)
    {
        store.Append(rows);
        mostBytes = std::max(mostBytes, CountBytes());
    }
    const AuditVerdict verdict = store.Verify();
    EXPECT_EQ(verdict.fault, "");
    EXPECT_EQ(verdict.head.lastSequence, 20000);
    EXPECT_GT(verdict.head.firstSequence, 1);
    EXPECT_EQ(verdict.head.firstSequence % AuditStore::segmentRows, 0);
    EXPECT_EQ(store.List({.limit = 20000}).size(), 20001U - static_cast<std::size_t>(verdict.head.firstSequence));
    EXPECT_LE(mostBytes, AuditStore::minimumBytes);
    EXPECT_GT(mostBytes, AuditStore::minimumBytes / 2) << "it keeps less than it may";
    Execute(("DELETE FROM rows WHERE sequence = " + std::to_string(verdict.head.firstSequence)).c_str());
    EXPECT_THAT(store.Verify().fault, HasSubstr(" is missing"));
}

TEST_F(AuditStores, ListTheNewestRowsThatMatch)
{
    AuditStore store(path, AuditStore::minimumBytes);
    std::vector<AuditRow> rows = {MakeRow("a"), MakeRow("b", "bert"), MakeRow("c"), MakeRow("d"),
                                  MakeRow("e", "' OR 1")};
    for (std::size_t index = 0; index < rows.size(); ++index)
    {
        rows[index].microseconds = static_cast<int64>(index) * 10;
    }
    rows[2].action = "LoggedIn";
    store.Append(rows);
    const std::pair<AuditFilter, BasicString> cases[] = {
        {{}, "edcba"},
        {{.limit = 2}, "ed"},
        {{.before = 3}, "ba"},
        {{.user = "anna"}, "dca"},
        {{.user = "ANNA"}, ""},
        {{.user = "' OR 1"}, "e"},
        {{.action = "LoggedIn"}, "c"},
        {{.from = 10, .to = 30}, "cb"},
        {{.user = "anna", .action = "CommandExecuted", .from = 10, .limit = 1}, "d"},
    };
    for (const auto& [filter, expected] : cases)
    {
        BasicString objects;
        for (const AuditRow& row : store.List(filter))
        {
            objects += row.object;
        }
        EXPECT_EQ(objects, expected) << &filter - &cases[0].first;
    }
    EXPECT_EQ(store.List({.limit = 1}).front(), rows.back());
}

TEST_F(AuditStores, RefuseKeysThatOthersCanUseAndFilesThatAreNoTrail)
{
    {
        AuditStore store(path, AuditStore::minimumBytes);
    }
    const BasicString keyPath = path + ".key";
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(path).permissions(), perms::owner_read | perms::owner_write);
    EXPECT_EQ(std::filesystem::status(keyPath).permissions(), perms::owner_read | perms::owner_write);
    std::filesystem::permissions(keyPath, perms::group_read, std::filesystem::perm_options::add);
    EXPECT_THAT(GetOpenError(), HasSubstr("its key '" + keyPath + "' must be a file of 32 bytes that only its owner"));
    std::filesystem::permissions(keyPath, perms::group_read, std::filesystem::perm_options::remove);
    std::filesystem::resize_file(keyPath, 31);
    EXPECT_THAT(GetOpenError(), HasSubstr("must be a file of 32 bytes"));
    std::filesystem::remove(keyPath);
    EXPECT_THAT(GetOpenError(), HasSubstr("cannot use the key '" + keyPath + "' of the audit trail: No such file"));
    Execute("PRAGMA user_version = 9");
    EXPECT_THAT(GetOpenError(), HasSubstr("its version 9 is newer than version 1"));
    Execute("PRAGMA application_id = 7");
    EXPECT_THAT(GetOpenError(), HasSubstr("it is a database of another program"));
    folder.Write("audit.sqlite", BasicString(5000, 'x'));
    EXPECT_THAT(GetOpenError(), HasSubstr("file is not a database"));
    EXPECT_THROW(AuditStore(folder.GetPath("none")), InvalidOperationException);
}

TEST_F(AuditStores, KnowWhetherTheLastRunHasEnded)
{
    AuditStore store(path, AuditStore::minimumBytes);
    const auto append = [&store](NotificationKind kind, const char* bootId)
    {
        Notification notification;
        notification.kind = kind;
        std::vector<AuditRow> rows = {MakeAuditRow(notification, bootId)};
        store.Append(rows);
    };
    EXPECT_EQ(store.FindOpenRun(), std::nullopt);
    append(NotificationKind::UserAdded, "b1");
    EXPECT_EQ(store.FindOpenRun(), std::nullopt) << "the host has not run yet";
    append(NotificationKind::HostStarted, "b1");
    append(NotificationKind::UserAdded, "b2");
    EXPECT_EQ(store.FindOpenRun(), "b1");
    append(NotificationKind::HostStopped, "b1");
    append(NotificationKind::UserAdded, "b2");
    EXPECT_EQ(store.FindOpenRun(), std::nullopt);
}

TEST(AuditRows, TakeTheColumnsFromTheFieldsAndBoundEveryText)
{
    Notification notification;
    notification.kind = NotificationKind::LogInFailed;
    notification.source = "Host.Sessions";
    notification.user = "eve'\n\xFF";
    notification.text = "user name or password is wrong";
    notification.fields = {{"address", "192.0.2.7"}, {"requestId", "0123"}, {"origin", "http://x\n"}};
    const AuditRow row = MakeAuditRow(notification, "boot");
    EXPECT_EQ(row.user, "eve'\n\xFF") << "as it is";
    EXPECT_EQ(row.action, "LogInFailed");
    EXPECT_EQ(row.address, "192.0.2.7");
    EXPECT_EQ(row.object, "user name or password is wrong");
    EXPECT_EQ(row.outcome, "failure") << "by its kind";
    EXPECT_EQ(row.requestId, "0123");
    EXPECT_EQ(row.details, R"({"source":"Host.Sessions","origin":"http://x\n"})");
    EXPECT_EQ(FormatAuditRow(row),
              "0\t0001-01-01T00:00:00.0000000Z\tLogInFailed\teve'\\x0a\\xff\t192.0.2.7\tuser name or password "
              "is wrong\tfailure\t0123\tboot\t{\"source\":\"Host.Sessions\",\"origin\":\"http://x\\n\"}");

    notification.user = notification.text = BasicString(100'000, 'x');
    notification.fields.assign(100, {BasicString(100'000, 'n'), BasicString(100'000, 'v')});
    notification.fields.emplace_back("object", "the session");
    notification.fields.emplace_back("outcome", "refused");
    const AuditRow bounded = MakeAuditRow(notification, "boot");
    EXPECT_EQ(bounded.object, "the session");
    EXPECT_EQ(bounded.outcome, "refused");
    EXPECT_LT(bounded.user.size() + bounded.details.size(), 4096U);
}

} // namespace
} // namespace Oxa::Host::Audit
