#include "Host/StateFolder.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/UserManager.hpp"
#include "Tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

namespace Oxa::Host
{

namespace
{

using System::Commons::ConfigurationException;
using System::Um::UserInfo;
using System::Um::UserManager;
using testing::HasSubstr;

class StateFolders : public testing::Test
{
protected:
    StateFolders()
    {
        state.Create();
        UserManager::CreateDatabase(database);
        users.emplace(database);
    }

    static BasicString GetFault(const std::function<void()>& check)
    {
        try
        {
            check();
        }
        catch (const ConfigurationException& exception)
        {
            return exception.GetMessage();
        }
        return "none";
    }

    static void SetMode(const BasicString& path, mode_t mode)
    {
        ASSERT_EQ(chmod(path.c_str(), mode), 0) << path;
    }

    Tests::Support::TemporaryFolder folder;
    const StateFolder state{folder.GetPath("state")};
    const BasicString database = folder.GetPath("state/users.sqlite");
    std::optional<UserManager> users;
};

} // namespace

TEST_F(StateFolders, AreRefusedWhenOthersHaveAccess)
{
    EXPECT_EQ(GetFault([this] { state.Create(); }), "none");
    for (const mode_t mode : {0750, 0701, 0704, 0755, 0777, 01777, 0720})
    {
        SetMode(state.GetPath(), mode);
        EXPECT_THAT(GetFault([this] { state.Create(); }), HasSubstr("cannot use the state folder: '" + state.GetPath()))
            << std::oct << mode;
    }
}

TEST_F(StateFolders, AreRefusedBehindALinkThatOthersCanReplace)
{
    std::filesystem::create_directory(folder.GetPath("open"));
    std::filesystem::create_symlink(state.GetPath(), folder.GetPath("open/link"));
    const StateFolder linked(folder.GetPath("open/link"));
    EXPECT_EQ(GetFault([&linked] { linked.Create(); }), "none");
    SetMode(folder.GetPath("open"), 0777);
    EXPECT_EQ(GetFault([&linked] { linked.Create(); }),
              "cannot use the state folder: '" + folder.GetPath("open") + "' can be written by everybody");
}

TEST_F(StateFolders, KeepUserDatabasesThatOnlyTheirOwnerCanUse)
{
    EXPECT_EQ(GetFault([this] { CheckUserDatabase(database); }), "none");
    for (const char* const suffix : {"", "-wal", "-shm"})
    {
        const BasicString path = database + suffix;
        for (const mode_t mode : {0640, 0604, 0602, 0620})
        {
            SetMode(path, mode);
            EXPECT_THAT(GetFault([this] { CheckUserDatabase(database); }),
                        HasSubstr("cannot use the user database: '" + path + "'"))
                << std::oct << mode;
        }
        SetMode(path, 0600);
    }
    if (geteuid() == 0)
    {
        ASSERT_EQ(lchown(database.c_str(), 4321, 0), 0);
        EXPECT_THAT(GetFault([this] { CheckUserDatabase(database); }), HasSubstr("belongs to the user 4321"));
    }
}

TEST_F(StateFolders, MakeOneInitialUserWhoMustChangeThePassword)
{
    EXPECT_TRUE(state.CreateInitialUser(*users));
    EXPECT_EQ(users->FindUser("admin"), (UserInfo{"admin", "Admin", false, true}));
    EXPECT_TRUE(users->LogIn("admin", state.ReadInitialPassword()));
    EXPECT_FALSE(state.CreateInitialUser(*users));
}

TEST_F(StateFolders, KeepTheInitialPasswordUntilItIsVoid)
{
    using System::Nm::NotificationKind;

    struct Case
    {
        NotificationKind kind;
        const char* user;
        const char* changed;
        bool isKept;
    };

    const Case cases[] = {{NotificationKind::UserChanged, "admin", "role", true},
                          {NotificationKind::UserChanged, "anna", "password", true},
                          {NotificationKind::UserRemoved, "anna", "", true},
                          {NotificationKind::UserDisabled, "admin", "", true},
                          {NotificationKind::UserChanged, "admin", "password", false},
                          {NotificationKind::UserRemoved, "admin", "", false}};
    EXPECT_TRUE(state.CreateInitialUser(*users));
    const BasicString password = state.ReadInitialPassword();
    for (const auto& [kind, user, changed, isKept] : cases)
    {
        folder.Write("state/initial-password", password + '\n');
        state.Notice({{}, kind, "Test", "root", user, {{"role", "Admin"}, {"changed", changed}}});
        EXPECT_EQ(state.ReadInitialPassword(), isKept ? password : "") << user << ", " << changed;
    }
}

TEST_F(StateFolders, KeepThePasswordOfAnInitialUserWhoMayHaveBeenAdded)
{
    // What is on the disk after a failure is not known.
    std::filesystem::remove(database);
    EXPECT_ANY_THROW((void)state.CreateInitialUser(*users));
    EXPECT_NE(state.ReadInitialPassword(), "");
}

} // namespace Oxa::Host
