#include "Oxa/System/Commons/ArgumentException.hpp"
#include "UserDatabaseTest.hpp"

#include <gmock/gmock.h>

#include <thread>

namespace Oxa::System::Um
{
namespace
{

using System::Commons::ArgumentException;

constexpr const char* password = "some secret words";
constexpr const char* otherPassword = "some other words";

using ChangingUsers = UserManagerTest;

TEST_F(ChangingUsers, DisablesThemWithTheirLogins)
{
    users.AddUser("anna", password, "Engineer");
    const SecurityToken token = users.LogIn("anna", password).value();
    EXPECT_EQ(elsewhere.ChangeUser("ANNA", {.isDisabled = true}).before, (UserInfo{"anna", "Engineer"}));
    EXPECT_FALSE(users.TryGetUser(token));
    EXPECT_FALSE(users.LogIn("anna", password));
    EXPECT_EQ(users.FindUser("anna"), (UserInfo{"anna", "Engineer", true}));
    EXPECT_EQ(elsewhere.ChangeUser("anna", {.isDisabled = false}).change, UserChange::Done);
    EXPECT_FALSE(users.TryGetUser(token)) << "logins of the time before";
    EXPECT_TRUE(users.LogIn("anna", password));
}

TEST_F(ChangingUsers, ChangesAllOrNothing)
{
    users.AddUser("anna", password, "Engineer");
    EXPECT_THROW(users.ChangeUser("anna", {.roleName = "Viewer", .password = "short"}), ArgumentException);
    EXPECT_THROW(users.ChangeUser("anna", {.roleName = "viewer"}), ArgumentException);
    EXPECT_EQ(users.FindUser("anna"), (UserInfo{"anna", "Engineer"}));
    EXPECT_EQ(users.ChangeUser("anna", {"Viewer", true, otherPassword, true}).change, UserChange::Done);
    EXPECT_EQ(users.FindUser("anna"), (UserInfo{"anna", "Viewer", true, true}));
}

TEST_F(ChangingUsers, NeverTakesTheLastActiveAdministratorAway)
{
    struct Case
    {
        const char* name;
        UserChanges changes;
        /// Of "root", while there is another active administrator, and without one.
        UserChange whileOther;
        UserChange whileNone;
    };

    const Case cases[] = {
        {"removal", {}, UserChange::Done, UserChange::LastAdmin},
        {"role", {.roleName = "Engineer"}, UserChange::Done, UserChange::LastAdmin},
        {"disabling", {.isDisabled = true}, UserChange::Done, UserChange::LastAdmin},
        {"disabling, with a password", {{}, true, otherPassword}, UserChange::Done, UserChange::LastAdmin},
        {"same role", {.roleName = "Admin"}, UserChange::Done, UserChange::Done},
        {"enabling", {.isDisabled = false}, UserChange::Done, UserChange::Done},
        {"password", {.password = otherPassword}, UserChange::Done, UserChange::Done},
    };
    ExecuteSql("INSERT INTO users (name, passwordHash, roleName, isDisabled) VALUES ('root', '', 'Admin', 0),"
               " ('other', '', 'Admin', 0), ('disabled', '', 'Admin', 1), ('engineer', '', 'Engineer', 0)");
    for (const Case& each : cases)
    {
        for (const bool hasOther : {false, true})
        {
            ExecuteSql(hasOther ? "UPDATE users SET isDisabled = 0 WHERE name = 'other'"
                                : "UPDATE users SET isDisabled = 1 WHERE name = 'other'");
            const auto before = users.GetUsers();
            const bool isRemoval = each.name == BasicString("removal");
            const auto result = isRemoval ? users.RemoveUser("root") : users.ChangeUser("root", each.changes);
            const UserChange expected = hasOther ? each.whileOther : each.whileNone;
            EXPECT_EQ(result.change, expected) << each.name << ", other: " << hasOther;
            EXPECT_EQ(result.before, (UserInfo{"root", "Admin"})) << each.name << ", other: " << hasOther;
            if (expected == UserChange::LastAdmin)
            {
                EXPECT_EQ(users.GetUsers(), before) << each.name;
            }
            ExecuteSql(
                "INSERT INTO users (name, passwordHash, roleName) VALUES ('root', '', 'Admin') ON CONFLICT (name) "
                "DO UPDATE SET roleName = 'Admin', isDisabled = 0");
        }
    }
    EXPECT_EQ(users.ChangeUser("other", {.isDisabled = true}).change, UserChange::Done);
    EXPECT_EQ(users.RemoveUser("disabled").change, UserChange::Done) << "was not active";
    EXPECT_EQ(users.ChangeUser("engineer", {.roleName = "Viewer"}).change, UserChange::Done);
}

TEST_F(ChangingUsers, LeavesOneOfTwoAdministratorsWhoTakeEachOtherAway)
{
    for (int round = 0; round < 20; ++round)
    {
        ExecuteSql(
            "DELETE FROM users;"
            "INSERT INTO users (name, passwordHash, roleName) VALUES ('one', '', 'Admin'), ('two', '', 'Admin')");
        UserChange first{};
        UserChange second{};
        {
            const std::jthread thread([&] { first = users.ChangeUser("one", {.roleName = "Viewer"}).change; });
            const std::jthread otherThread([&] { second = elsewhere.RemoveUser("two").change; });
        }
        EXPECT_NE(first == UserChange::LastAdmin, second == UserChange::LastAdmin) << "exactly one is refused";
    }
}

TEST_F(ChangingUsers, LetsUsersChangeTheirOwnPassword)
{
    users.AddUser("anna", password, "Viewer", true);
    const SecurityToken token = users.LogIn("anna", password).value();
    const SecurityToken other = users.LogIn("anna", password).value();
    EXPECT_TRUE(users.TryGetUser(token).value().mustChangePassword);
    EXPECT_TRUE(users.VerifyPassword(token, password));
    EXPECT_FALSE(users.VerifyPassword(token, otherPassword));
    EXPECT_FALSE(users.VerifyPassword(token, BasicString(1025, 'p')));
    EXPECT_FALSE(users.VerifyPassword(token, {}));
    EXPECT_FALSE(users.VerifyPassword(SecurityToken(), password));

    EXPECT_FALSE(users.ChangePassword(token, otherPassword, "yet another phrase"));
    EXPECT_THROW((void)users.ChangePassword(token, password, password), ArgumentException);
    EXPECT_THROW((void)users.ChangePassword(token, password, "Anna.Anna.2026"), ArgumentException);
    EXPECT_TRUE(users.TryGetUser(other)) << "nothing was changed";

    const auto renewed = users.ChangePassword(token, password, otherPassword);
    EXPECT_EQ(users.TryGetUser(renewed.value()), (UserInfo{"anna", "Viewer"}));
    EXPECT_FALSE(users.TryGetUser(token));
    EXPECT_FALSE(users.TryGetUser(other));
    EXPECT_FALSE(users.LogIn("anna", password));
    EXPECT_TRUE(users.LogIn("anna", otherPassword));
    EXPECT_FALSE(users.ChangePassword(token, otherPassword, password)) << "an ended login";
}

} // namespace
} // namespace Oxa::System::Um
