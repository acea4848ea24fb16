#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "UserDatabaseTest.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Oxa::System::Um
{
namespace
{

using std::filesystem::perms;
using System::Commons::InvalidOperationException;
using testing::HasSubstr;

class OpeningAUserDatabase : public UserDatabaseTest
{
protected:
    [[nodiscard]] static BasicString GetOpenError(const BasicString& databasePath)
    {
        try
        {
            const UserManager users(databasePath);
        }
        catch (const InvalidOperationException& exception)
        {
            return exception.GetMessage();
        }
        return "opened";
    }

    void ExpectRefused(const BasicString& databasePath, const BasicString& cause)
    {
        EXPECT_EQ(GetOpenError(databasePath), "cannot use the user database '" + databasePath + "': " + cause);
    }
};

using CreatingAUserDatabase = OpeningAUserDatabase;

TEST_F(CreatingAUserDatabase, MakesItForItsOwnerOnlyAndOnlyWhereThereIsNothing)
{
    // Left by processes that were cut off, and by a database that is gone: nothing of it becomes part of the new one.
    for (const BasicString suffix : {".new", ".new-wal", "-wal", "-journal"})
    {
        folder.Write("users.db" + suffix, "garbage");
    }
    EXPECT_TRUE(UserManager::CreateDatabase(path));
    UserManager users(path);
    for (const BasicString suffix : {"", "-wal", "-shm"})
    {
        EXPECT_EQ(std::filesystem::status(path + suffix).permissions(), perms::owner_read | perms::owner_write)
            << suffix;
    }
    EXPECT_FALSE(std::filesystem::exists(path + ".new"));
    users.AddUser("anna", "correct horse", "Engineer");
    EXPECT_FALSE(UserManager::CreateDatabase(path));
    EXPECT_TRUE(UserManager(path).LogIn("anna", "correct horse"));
}

TEST_F(CreatingAUserDatabase, IsDoneByOneOfSeveralProcesses)
{
    std::atomic<int> created = 0;
    {
        std::vector<std::jthread> threads;
        for (int number = 0; number < 4; ++number)
        {
            threads.emplace_back(
                [this, &created]
                {
                    created += UserManager::CreateDatabase(path) ? 1 : 0;
                    EXPECT_EQ(GetOpenError(path), "opened");
                });
        }
    }
    EXPECT_EQ(created, 1);
}

TEST_F(OpeningAUserDatabase, KeepsPasswordsAsArgon2idHashesOnly)
{
    UserManager::CreateDatabase(path);
    UserManager users(path);
    users.AddUser("anna", "correct horse", "Engineer");
    const BasicString content = folder.Read("users.db") + folder.Read("users.db-wal");
    EXPECT_THAT(content, HasSubstr("$argon2id$v=19$m=19456,t=2,p=1$"));
    EXPECT_EQ(content.find("correct horse"), BasicString::npos);
}

TEST_F(OpeningAUserDatabase, NamesPathAndCauseWhenItCannot)
{
    ExpectRefused(path, "No such file or directory");
    EXPECT_THROW(UserManager::CreateDatabase(folder.GetPath("missing/users.db")), InvalidOperationException);
    ExpectRefused(folder.GetPath(), "it is a folder");
    ExpectRefused("/dev/null", "it is no regular file");
    ExpectRefused("", "No such file or directory");
}

TEST_F(OpeningAUserDatabase, NamesPathAndCauseWhenItMayNot)
{
    if (::geteuid() == 0)
    {
        GTEST_SKIP() << "root may read everything";
    }
    UserManager::CreateDatabase(path);
    std::filesystem::permissions(path, perms::none);
    ExpectRefused(path, "Permission denied");
}

TEST_F(OpeningAUserDatabase, LeavesAFileThatIsNoDatabaseAsItIs)
{
    const BasicString content(100'000, 'x');
    folder.Write("users.db", content);
    ExpectRefused(path, "file is not a database");
    EXPECT_EQ(folder.Read("users.db"), content);
}

TEST_F(OpeningAUserDatabase, LeavesTheDatabaseOfAnotherProgramAsItIs)
{
    ExecuteSql("CREATE TABLE songs (title TEXT)");
    const BasicString content = folder.Read("users.db");
    ExpectRefused(path, "it is a database of another program");
    EXPECT_EQ(folder.Read("users.db"), content);
}

TEST_F(OpeningAUserDatabase, RefusesOneOfANewerVersion)
{
    UserManager::CreateDatabase(path);
    ExecuteSql("PRAGMA user_version = 4");
    ExpectRefused(path, "its version 4 is newer than version 3, the newest that is known here");
}

TEST_F(OpeningAUserDatabase, LeavesAFileThatIsEmptyAsItIs)
{
    folder.Write("users.db", "");
    ExpectRefused(path, "it is empty; restore it, or remove it to begin anew");
    EXPECT_FALSE(UserManager::CreateDatabase(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0u);
}

TEST_F(OpeningAUserDatabase, TakesOneOfVersion2AsItIsUntilTheFirstChange)
{
    ExecuteSql(R"sql(
        CREATE TABLE users (number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE,
            passwordHash TEXT NOT NULL, passwordGeneration INTEGER NOT NULL DEFAULT 0, roleName TEXT NOT NULL) STRICT;
        INSERT INTO users (name, passwordHash, roleName) VALUES ('anna', 'hash', 'Admin'), ('berta', 'hash', 'Viewer');
        PRAGMA application_id = 0x4F786155; PRAGMA user_version = 2; PRAGMA journal_mode = WAL)sql");
    UserManager users(path);
    const UserManager elsewhere(path);
    const UserInfo anna{"anna", "Admin"};
    EXPECT_THAT(elsewhere.GetUsers(), testing::ElementsAre(anna, UserInfo{"berta", "Viewer"}));
    EXPECT_THAT(elsewhere.GetApiTokens(), testing::IsEmpty());
    EXPECT_EQ(users.RemoveUser("anna").change, UserChange::LastAdmin);
    EXPECT_FALSE(users.RemoveApiToken("monitoring"));
    ExecuteSql("UPDATE users SET passwordHash = passwordHash WHERE passwordGeneration = 0");
    EXPECT_THAT(elsewhere.GetUsers(), testing::ElementsAre(anna, UserInfo{"berta", "Viewer"}));

    EXPECT_EQ(users.ChangeUser("berta", {.isDisabled = true}).change, UserChange::Done);
    (void)users.AddApiToken("monitoring", "Viewer", {}, "anna");
    EXPECT_THAT(elsewhere.GetUsers(), testing::ElementsAre(anna, UserInfo{"berta", "Viewer", true}));
    EXPECT_EQ(elsewhere.GetApiTokens().size(), 1u);
    ExecuteSql("UPDATE users SET passwordHash = '' WHERE passwordHash = 'hash' AND mustChangePassword = 0");
}

TEST_F(OpeningAUserDatabase, NoticesANewerVersionLater)
{
    UserManager::CreateDatabase(path);
    const UserManager users(path);
    EXPECT_THAT(users.GetUsers(), testing::IsEmpty());
    ExecuteSql("PRAGMA user_version = 4");
    EXPECT_THROW((void)users.GetUsers(), InvalidOperationException);
    ExecuteSql("PRAGMA user_version = 3");
    EXPECT_THAT(users.GetUsers(), testing::IsEmpty());
}

TEST_F(OpeningAUserDatabase, ReadsOneWithoutAWriteAheadLogAnewEachTime)
{
    UserManager::CreateDatabase(path);
    ExecuteSql("PRAGMA journal_mode = DELETE");
    const UserManager users(path);
    EXPECT_THAT(users.GetUsers(), testing::IsEmpty());
    ExecuteSql("INSERT INTO users (name, passwordHash, roleName) VALUES ('anna', '', 'Viewer')");
    EXPECT_EQ(users.GetUsers().size(), 1u);
    EXPECT_FALSE(std::filesystem::exists(path + "-shm"));
}

TEST_F(OpeningAUserDatabase, TakesOneOfVersion1WithTheNamesThatItHolds)
{
    ExecuteSql(R"sql(
        CREATE TABLE roles (name TEXT NOT NULL PRIMARY KEY) STRICT, WITHOUT ROWID;
        CREATE TABLE users (number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE,
            passwordHash TEXT NOT NULL, passwordGeneration INTEGER NOT NULL DEFAULT 0,
            roleName TEXT NOT NULL REFERENCES roles (name)) STRICT;
        INSERT INTO roles VALUES ('Admin'), ('Engineer'), ('Viewer');
        INSERT INTO users (name, passwordHash, roleName) VALUES ('anna', '', 'Viewer'), ('Anna', '', 'Admin'),
            (' bob ', '', 'Viewer');
        PRAGMA application_id = 0x4F786155; PRAGMA user_version = 1; PRAGMA journal_mode = WAL)sql");
    UserManager users(path);
    EXPECT_EQ(users.FindUser("Anna"), (UserInfo{"Anna", "Admin"}));
    EXPECT_EQ(users.SetPassword("anna", "some secret words").before, (UserInfo{"anna", "Viewer"}));
    EXPECT_TRUE(users.LogIn("anna", "some secret words"));
    EXPECT_EQ(users.RemoveUser("ANNA").change, UserChange::UnknownUser) << "which of the two?";
    users.AddUser("zoe", "some secret words", "Admin");
    EXPECT_EQ(users.RemoveUser("Anna").change, UserChange::Done);
    EXPECT_EQ(users.FindUser("ANNA"), (UserInfo{"anna", "Viewer"}));
    EXPECT_EQ(users.SetPassword(" bob ", "some secret words").change, UserChange::Done);
    EXPECT_TRUE(users.LogIn(" BOB ", "some secret words"));
}

} // namespace
} // namespace Oxa::System::Um
