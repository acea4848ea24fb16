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
using testing::HasSubstr;
using testing::Not;

constexpr const char* moduleObject = "oxa.services.wbm/modules/Di";

class ManagingUsers : public UserDatabaseTest
{
protected:
    [[nodiscard]] SecurityToken LogInNewUser(const BasicString& name, const BasicString& roleName)
    {
        users.AddUser(name, "secret", roleName);
        return users.LogIn(name, "secret").value();
    }

    [[nodiscard]] bool MayExecute(SecurityToken token) const
    {
        return users.IsAuthorized(moduleObject, executePermission, token);
    }

    const bool isCreated = UserManager::CreateDatabase(path);
    UserManager users{path};
    /// Stands for another process: it shares nothing with the first but the file.
    UserManager elsewhere{path};
};

using LoggingIn = ManagingUsers;
using Authorizing = ManagingUsers;

TEST_F(ManagingUsers, ListsThemByNameWithTheirRoles)
{
    users.AddUser("zoe", "secret", "Viewer");
    users.AddUser("Jürgen 3", "secret", "Admin");
    EXPECT_THAT(elsewhere.GetUsers(), ElementsAre(UserInfo{"Jürgen 3", "Admin"}, UserInfo{"zoe", "Viewer"}));
    EXPECT_EQ(users.RemoveUser("zoe"), (UserInfo{"zoe", "Viewer"}));
    EXPECT_FALSE(users.RemoveUser("zoe"));
    EXPECT_FALSE(users.SetPassword("zoe", "secret"));
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
        EXPECT_THROW(users.AddUser(name, "secret", "Viewer"), ArgumentException) << name;
        EXPECT_FALSE(users.LogIn(name, "secret")) << name;
    }
    users.AddUser(BasicString(64, 'n'), "secret", "Viewer");
    EXPECT_THROW(users.AddUser(BasicString(64, 'n'), "secret", "Viewer"), ArgumentException);
    EXPECT_THROW(users.AddUser("anna", "secret", "viewer"), ArgumentException);
}

TEST_F(ManagingUsers, ComparesNamesWithoutCase)
{
    users.AddUser("J\xC3\xBCrgen", "secret", "Viewer");
    const BasicString shouted = "J\xC3\x9CRGEN";
    EXPECT_THROW(users.AddUser(shouted, "secret", "Admin"), ArgumentException);
    EXPECT_EQ(users.TryGetUser(users.LogIn(shouted, "secret").value()), (UserInfo{"J\xC3\xBCrgen", "Viewer"}));
    EXPECT_EQ(users.SetPassword(shouted, "other").value().name, "J\xC3\xBCrgen");
    EXPECT_TRUE(users.LogIn(shouted, "other"));
    EXPECT_TRUE(users.RemoveUser(shouted));
}

TEST_F(ManagingUsers, RefusesPasswordsWithoutTellingThem)
{
    const BasicString tooLong = BasicString(1015, 'p') + "Tr0ub4dor3";
    try
    {
        users.AddUser("anna", tooLong, "Viewer");
        ADD_FAILURE() << "added";
    }
    catch (const ArgumentException& exception)
    {
        EXPECT_THAT(exception.GetMessage(), Not(HasSubstr("pp")));
    }
    EXPECT_THROW(users.AddUser("anna", "", "Viewer"), ArgumentException);
    EXPECT_THROW(users.SetPassword("anna", ""), ArgumentException);
    EXPECT_THAT(users.GetUsers(), testing::IsEmpty());
}

TEST_F(LoggingIn, NeedsTheWholePassword)
{
    const BasicString password("p\0ss", 4);
    users.AddUser("anna", password, "Viewer");
    const std::pair<BasicString, BasicString> cases[] = {
        {"anna", ""},     {"anna", "p"},        {"anna", BasicString("p\0sS", 4)}, {"anna", password + "x"},
        {"an", password}, {"nobody", password}, {"anna", BasicString(1025, 'p')},  {"anna' OR '1'='1", password}};
    for (const auto& [name, attempt] : cases)
    {
        EXPECT_FALSE(users.LogIn(name, attempt)) << name << ", " << attempt;
    }
    EXPECT_TRUE(users.LogIn("anna", password));
}

TEST_F(LoggingIn, TakesAsLongForAnUnknownUserAsForAWrongPassword)
{
    users.AddUser("anna", "secret", "Viewer");
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
    const SecurityToken second = users.LogIn("anna", "secret").value();
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
    ExecuteSql("UPDATE users SET roleName = 'Viewer'");
    EXPECT_FALSE(MayExecute(token));
    EXPECT_EQ(users.TryGetUser(token), (UserInfo{"anna", "Viewer"}));
    ExecuteSql("UPDATE users SET roleName = 'Admin'");
    EXPECT_TRUE(MayExecute(token));
    ExecuteSql("UPDATE users SET roleName = 'Unknown'");
    EXPECT_FALSE(MayExecute(token));
}

TEST_F(Authorizing, EndsWithTheUserOrThePasswordWhoeverChangesThem)
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
             EXPECT_TRUE(users.RemoveUser("anna"));
         }},
        {"removed elsewhere",
         [this]
         {
             EXPECT_TRUE(elsewhere.RemoveUser("anna"));
         }},
        {"new password",
         [this]
         {
             EXPECT_TRUE(users.SetPassword("anna", "other"));
         }},
        {"new password elsewhere",
         [this]
         {
             EXPECT_TRUE(elsewhere.SetPassword("anna", "other"));
         }},
    };
    for (const auto& [name, change] : cases)
    {
        const SecurityToken token = LogInNewUser("anna", "Admin");
        change();
        EXPECT_FALSE(MayExecute(token)) << name;
        EXPECT_FALSE(users.TryGetUser(token)) << name;
        EXPECT_FALSE(users.LogIn("anna", "secret")) << name;
        elsewhere.RemoveUser("anna");
        elsewhere.AddUser("anna", "secret", "Admin");
        EXPECT_FALSE(MayExecute(token)) << name << ", and a new user of the same name";
        elsewhere.RemoveUser("anna");
    }
}

TEST_F(ManagingUsers, AnswersManyThreadsWhileUsersComeAndGo)
{
    const SecurityToken token = LogInNewUser("engineer", "Engineer");
    {
        std::vector<std::jthread> threads;
        for (const BasicString name : {"anna", "berta"})
        {
            threads.emplace_back(
                [this, name]
                {
                    const SecurityToken own = LogInNewUser(name, "Admin");
                    EXPECT_TRUE(MayExecute(own));
                    EXPECT_TRUE(users.RemoveUser(name));
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
