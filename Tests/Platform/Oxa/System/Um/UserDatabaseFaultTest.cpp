#include "Support/FaultyDisk.hpp"
#include "UserDatabaseTest.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace Oxa::System::Um
{
namespace
{

using Tests::Support::FaultReport;

struct Change
{
    const char* name;
    std::function<void(UserManager&)> make;
    std::function<bool(const UserManager&)> isMade;
};

bool HasApiToken(const UserManager& users, const BasicString& name)
{
    return std::ranges::any_of(users.GetApiTokens(), [&name](const auto& each) { return each.name == name; });
}

const Change changes[] = {
    {"disable", [](UserManager& users) { users.ChangeUser("anna", {.isDisabled = true}); },
     [](const UserManager& users)
     {
         return users.FindUser("anna").value().isDisabled;
     }},
    {"add a token", [](UserManager& users) { (void)users.AddApiToken("first", "Viewer", {}, "root"); },
     [](const UserManager& users)
     {
         return HasApiToken(users, "first");
     }},
    {"role", [](UserManager& users) { users.ChangeUser("berta", {.roleName = "Viewer"}); },
     [](const UserManager& users)
     {
         return users.FindUser("berta").value().roleName == "Viewer";
     }},
    {"add another token", [](UserManager& users) { (void)users.AddApiToken("second", "Viewer", {}, "root"); },
     [](const UserManager& users)
     {
         return HasApiToken(users, "second");
     }},
    {"add a token to remove", [](UserManager& users) { (void)users.AddApiToken("third", "Viewer", {}, "root"); },
     // It may be removed again.
     [](const UserManager&)
     {
         return true;
     }},
    {"remove a token",
     [](UserManager& users)
     {
         if (!users.RemoveApiToken("third"))
         {
             throw std::runtime_error("was not added, as far as is known");
         }
     },
     [](const UserManager& users)
     {
         return !HasApiToken(users, "third");
     }},
    {"remove a user", [](UserManager& users) { users.RemoveUser("clara"); },
     [](const UserManager& users)
     {
         return !users.FindUser("clara");
     }},
};

class FaultsOfTheDisk : public UserDatabaseTest
{
protected:
    void Prepare()
    {
        for (const auto& each : std::filesystem::directory_iterator(folder.GetPath()))
        {
            std::filesystem::remove(each);
        }
        if (!original.empty())
        {
            std::filesystem::copy_file(original, path);
            std::filesystem::permissions(path,
                                         std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        }
    }

    void ExpectPrivateFiles()
    {
        for (const auto& each : std::filesystem::directory_iterator(folder.GetPath()))
        {
            EXPECT_EQ(each.status().permissions() &
                          (std::filesystem::perms::group_all | std::filesystem::perms::others_all),
                      std::filesystem::perms::none)
                << each.path();
        }
    }

    /// What each run begins with; empty: nothing.
    std::filesystem::path original;
};

TEST_F(FaultsOfTheDisk, LoseNoAcknowledgedChangeAndNoUser)
{
    // Of the version before, so that the first change also updates it.
    ExecuteSql(R"sql(
        CREATE TABLE users (number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE,
            passwordHash TEXT NOT NULL, passwordGeneration INTEGER NOT NULL DEFAULT 0, roleName TEXT NOT NULL) STRICT;
        INSERT INTO users (name, passwordHash, roleName) VALUES ('root', '', 'Admin'), ('anna', '', 'Engineer'),
            ('berta', '', 'Engineer'), ('clara', '', 'Viewer');
        PRAGMA application_id = 0x4F786155; PRAGMA user_version = 2; PRAGMA journal_mode = WAL)sql");
    original = folder.GetPath() + ".original";
    std::filesystem::rename(path, original);

    const auto makeChanges = [this](const FaultReport& report)
    {
        UserManager users(path);
        for (std::size_t index = 0; index < std::size(changes); ++index)
        {
            try
            {
                changes[index].make(users);
                report.Acknowledge(index);
            }
            catch (const std::exception&)
            {
                // Not acknowledged.
            }
        }
    };
    const auto check = [this](const std::vector<std::size_t>& acknowledged)
    {
        UserManager users(path);
        for (const std::size_t index : acknowledged)
        {
            EXPECT_TRUE(changes[index].isMade(users)) << changes[index].name;
        }
        EXPECT_EQ(users.FindUser("root"), (UserInfo{"root", "Admin"}));
        EXPECT_GE(users.GetUsers().size(), 3u);
        EXPECT_EQ(users.ChangeUser("anna", {.roleName = "Viewer"}).change, UserChange::Done) << "as before";
        ExpectPrivateFiles();
    };
    Tests::Support::RunWithEveryFault({[this] { Prepare(); }, makeChanges, check});
    std::filesystem::remove(original);
}

TEST_F(FaultsOfTheDisk, LeaveAWholeNewDatabaseOrNone)
{
    const auto create = [this](const FaultReport& report)
    {
        if (UserManager::CreateDatabase(path))
        {
            report.Acknowledge(0);
        }
    };
    const auto check = [this](const std::vector<std::size_t>& acknowledged)
    {
        ExpectPrivateFiles();
        const bool isMissing = UserManager::CreateDatabase(path);
        EXPECT_TRUE(acknowledged.empty() || !isMissing);
        EXPECT_THAT(UserManager(path).GetUsers(), testing::IsEmpty());
        EXPECT_FALSE(isMissing && std::filesystem::exists(path + ".new"));
    };
    Tests::Support::RunWithEveryFault({[this] { Prepare(); }, create, check});
}

} // namespace
} // namespace Oxa::System::Um
