#include "Oxa/System/Commons/ArgumentException.hpp"
#include "UserDatabaseTest.hpp"

#include <gmock/gmock.h>

#include <ctime>
#include <functional>
#include <thread>

namespace Oxa::System::Um
{
namespace
{

using System::Commons::ArgumentException;
using testing::ElementsAre;

constexpr const char* moduleObject = "oxa.services.wbm/modules/Di";

class ManagingUsers : public UserManagerTest
{
protected:
    [[nodiscard]] SecurityToken LogInNewUser(const BasicString& name, const BasicString& roleName)
    {
        users.AddUser(name, "some secret words", roleName);
        return users.LogIn(name, "some secret words").value();
    }

    [[nodiscard]] bool MayExecute(SecurityToken token) const
    {
        return users.IsAuthorized(moduleObject, executePermission, token);
    }
};

using LoggingIn = ManagingUsers;
using Authorizing = ManagingUsers;

TEST_F(ManagingUsers, ListsThemByNameWithTheirRoles)
{
    users.AddUser("zoe", "some secret words", "Viewer");
    users.AddUser("Jürgen 3", "some secret words", "Admin");
    EXPECT_THAT(elsewhere.GetUsers(), ElementsAre(UserInfo{"Jürgen 3", "Admin"}, UserInfo{"zoe", "Viewer"}));
    const auto removed = users.RemoveUser("zoe");
    EXPECT_EQ(removed.change, UserChange::Done);
    EXPECT_EQ(removed.before, (UserInfo{"zoe", "Viewer"}));
    EXPECT_EQ(users.RemoveUser("zoe").change, UserChange::UnknownUser);
    EXPECT_EQ(users.SetPassword("zoe", "some secret words").change, UserChange::UnknownUser);
    EXPECT_THAT(elsewhere.GetUsers(), ElementsAre(UserInfo{"Jürgen 3", "Admin"}));
}

TEST_F(ManagingUsers, RefusesNamesThatCouldDeceive)
{
    const BasicString cases[] = {"",
                                 BasicString(65, 'n'),
                                 "a\nb",
                                 BasicString("a\0b", 3),
                                 "a\x7F",
                                 "\xFF",
                                 "\xC2\x85",
                                 " anna",
                                 "anna ",
                                 "anna\xC2\xA0",
                                 "\xE3\x80\x80"
                                 "anna",
                                 "\xE2\x80\xAE"
                                 "nimda",
                                 "admin\xE2\x80\x8B"};
    for (const BasicString& name : cases)
    {
        EXPECT_THROW(users.AddUser(name, "some secret words", "Viewer"), ArgumentException) << name;
        EXPECT_FALSE(users.LogIn(name, "some secret words")) << name;
    }
    users.AddUser(BasicString(64, 'n'), "some secret words", "Viewer");
    EXPECT_THROW(users.AddUser(BasicString(64, 'n'), "some secret words", "Viewer"), ArgumentException);
    EXPECT_THROW(users.AddUser("anna", "some secret words", "viewer"), ArgumentException);
}

TEST_F(ManagingUsers, ComparesNamesWithoutCase)
{
    users.AddUser("J\xC3\xBCrgen", "some secret words", "Viewer");
    const BasicString shouted = "J\xC3\x9CRGEN";
    EXPECT_THROW(users.AddUser(shouted, "some secret words", "Admin"), ArgumentException);
    EXPECT_EQ(users.TryGetUser(users.LogIn(shouted, "some secret words").value()),
              (UserInfo{"J\xC3\xBCrgen", "Viewer"}));
    EXPECT_EQ(users.SetPassword(shouted, "some other words").before.name, "J\xC3\xBCrgen");
    EXPECT_TRUE(users.LogIn(shouted, "some other words"));
    EXPECT_EQ(users.RemoveUser(shouted).change, UserChange::Done);
}

TEST_F(ManagingUsers, RefusesPasswordsThatThePolicyDoesNotAllow)
{
    EXPECT_THROW(users.AddUser("anna", "", "Viewer"), ArgumentException);
    EXPECT_THROW(users.SetPassword("anna", ""), ArgumentException);
    EXPECT_THAT(users.GetUsers(), testing::IsEmpty());
}

TEST_F(LoggingIn, NeedsTheWholePassword)
{
    const BasicString password("p\0ss by nightfall", 18);
    users.AddUser("anna", password, "Viewer");
    const std::pair<BasicString, BasicString> cases[] = {{"anna", ""},
                                                         {"anna", "p"},
                                                         {"anna", BasicString("p\0sS by nightfall", 18)},
                                                         {"anna", password + "x"},
                                                         {"an", password},
                                                         {"nobody", password},
                                                         {"anna", BasicString(1025, 'p')},
                                                         {"anna' OR '1'='1", password}};
    for (const auto& [name, attempt] : cases)
    {
        EXPECT_FALSE(users.LogIn(name, attempt)) << name << ", " << attempt;
    }
    EXPECT_TRUE(users.LogIn("anna", password));
}

TEST_F(LoggingIn, TakesAsLongForAnUnknownUserAsForAWrongPassword)
{
    users.AddUser("anna", "some secret words", "Viewer");
    const auto measure = [this](const BasicString& name)
    {
        const std::clock_t begin = std::clock();
        EXPECT_FALSE(users.LogIn(name, "wrong"));
        return std::clock() - begin;
    };
    const std::clock_t known = measure("anna");
    const std::clock_t unknown = measure("nobody");
    // A far cry from equal, but without the hash it would be a thousandth.
    EXPECT_GT(unknown, known / 4);
}

TEST_F(LoggingIn, GivesEveryLoginATokenOfItsOwn)
{
    const SecurityToken first = LogInNewUser("anna", "Viewer");
    const SecurityToken second = users.LogIn("anna", "some secret words").value();
    EXPECT_NE(first, second);
    EXPECT_NE(first.GetValue(), 0u);
    users.LogOut(first);
    users.LogOut(first);
    EXPECT_FALSE(users.TryGetUser(first));
    EXPECT_EQ(users.TryGetUser(second), (UserInfo{"anna", "Viewer"}));
    EXPECT_FALSE(users.TryGetUser(SecurityToken()));
    EXPECT_FALSE(elsewhere.TryGetUser(second));
}

TEST_F(Authorizing, FollowsTheBuiltInRoles)
{
    const SecurityToken admin = LogInNewUser("admin", "Admin");
    const SecurityToken engineer = LogInNewUser("engineer", "Engineer");
    const SecurityToken viewer = LogInNewUser("viewer", "Viewer");

    struct Case
    {
        SecurityToken token;
        const char* objectName;
        uint32 permission;
        bool expected;
    };

    const Case cases[] = {
        {admin, moduleObject, executePermission, true},
        {admin, "anything", 0xFFFFFFFF, true},
        {engineer, moduleObject, executePermission, true},
        {engineer, moduleObject, executePermission | 1, false},
        {engineer, "oxa.services.wbm/users", executePermission, false},
        {engineer, "", executePermission, false},
        {viewer, moduleObject, executePermission, false},
        {viewer, "", executePermission, false},
        {viewer, moduleObject, 0, true},
        {SecurityToken(), moduleObject, 0, false},
        {SecurityToken(), moduleObject, executePermission, false},
    };
    for (const auto& [token, objectName, permission, expected] : cases)
    {
        const auto user = users.TryGetUser(token).value_or(UserInfo{"nobody", ""});
        EXPECT_EQ(users.IsAuthorized(objectName, permission, token), expected)
            << user.name << " on '" << objectName << "' for " << permission;
    }
}

TEST_F(Authorizing, SeesWhatAnotherProcessChangedAtOnce)
{
    const SecurityToken token = LogInNewUser("anna", "Engineer");
    EXPECT_TRUE(MayExecute(token));
    EXPECT_EQ(elsewhere.ChangeUser("anna", {.roleName = "Viewer"}).change, UserChange::Done);
    EXPECT_FALSE(MayExecute(token));
    EXPECT_EQ(users.TryGetUser(token), (UserInfo{"anna", "Viewer"}));
    ExecuteSql("UPDATE users SET roleName = 'Admin'");
    EXPECT_TRUE(MayExecute(token));
    ExecuteSql("UPDATE users SET roleName = 'Unknown'");
    EXPECT_FALSE(MayExecute(token));
}

TEST_F(Authorizing, EndsWhenAnyProcessRemovesTheUserOrChangesThePassword)
{
    struct Case
    {
        const char* name;
        std::function<void()> change;
    };

    const Case cases[] = {
        {"removed",
         [this]
         {
             EXPECT_EQ(users.RemoveUser("anna").change, UserChange::Done);
         }},
        {"removed elsewhere",
         [this]
         {
             EXPECT_EQ(elsewhere.RemoveUser("anna").change, UserChange::Done);
         }},
        {"new password",
         [this]
         {
             EXPECT_EQ(users.SetPassword("anna", "some other words").change, UserChange::Done);
         }},
        {"new password elsewhere",
         [this]
         {
             EXPECT_EQ(elsewhere.SetPassword("anna", "some other words").change, UserChange::Done);
         }},
    };
    for (const auto& [name, change] : cases)
    {
        const SecurityToken token = LogInNewUser("anna", "Engineer");
        change();
        EXPECT_FALSE(MayExecute(token)) << name;
        EXPECT_FALSE(users.TryGetUser(token)) << name;
        EXPECT_FALSE(users.LogIn("anna", "some secret words")) << name;
        elsewhere.RemoveUser("anna");
        elsewhere.AddUser("anna", "some secret words", "Engineer");
        EXPECT_FALSE(MayExecute(token)) << name << ", and a new user of the same name";
        elsewhere.RemoveUser("anna");
    }
}

TEST_F(ManagingUsers, ServesManyThreadsWhileUsersAreAddedAndRemoved)
{
    const SecurityToken token = LogInNewUser("engineer", "Engineer");
    {
        std::vector<std::jthread> threads;
        for (const BasicString name : {"anna", "berta"})
        {
            threads.emplace_back(
                [this, name]
                {
                    const SecurityToken own = LogInNewUser(name, "Engineer");
                    EXPECT_TRUE(MayExecute(own));
                    EXPECT_EQ(users.RemoveUser(name).change, UserChange::Done);
                    EXPECT_FALSE(MayExecute(own));
                });
            threads.emplace_back(
                [this, token]
                {
                    for (int count = 0; count < 200; ++count)
                    {
                        EXPECT_TRUE(MayExecute(token));
                    }
                });
        }
    }
    EXPECT_THAT(users.GetUsers(), ElementsAre(UserInfo{"engineer", "Engineer"}));
}

} // namespace
} // namespace Oxa::System::Um
