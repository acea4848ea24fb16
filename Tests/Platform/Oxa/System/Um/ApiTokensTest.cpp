#include "Oxa/System/Commons/ArgumentException.hpp"
#include "UserDatabaseTest.hpp"

#include <gmock/gmock.h>

namespace Oxa::System::Um
{
namespace
{

using std::chrono::days;
using System::Commons::ArgumentException;

class ApiTokens : public UserManagerTest
{
protected:
    [[nodiscard]] BasicString Add(const BasicString& name, std::optional<days> lifetime = {})
    {
        return users.AddApiToken(name, "Engineer", lifetime, "anna");
    }
};

TEST_F(ApiTokens, LogProgramsInWithTheirRole)
{
    const BasicString secret = Add("monitoring");
    EXPECT_THAT(secret, testing::MatchesRegex("oxa_[A-Za-z0-9_-]{43}"));
    EXPECT_NE(secret, Add("another"));
    const SecurityToken token = elsewhere.LogInWithApiToken(secret).value();
    EXPECT_EQ(elsewhere.TryGetUser(token), (UserInfo{"token:monitoring", "Engineer"}));
    EXPECT_TRUE(elsewhere.IsAuthorized("oxa.services.wbm/modules/Di", executePermission, token));
    EXPECT_FALSE(elsewhere.IsAuthorized("oxa.services.wbm/users", executePermission, token));
    EXPECT_EQ(elsewhere.LogInWithApiToken(secret), token) << "no new login with every request";
    EXPECT_FALSE(elsewhere.VerifyPassword(token, secret));
    EXPECT_FALSE(elsewhere.ChangePassword(token, secret, "some other words"));
    for (const BasicString& wrong : {secret + "x", secret.substr(0, secret.size() - 1), secret.substr(4),
                                     BasicString("oxa_"), BasicString(), BasicString("monitoring")})
    {
        EXPECT_FALSE(elsewhere.LogInWithApiToken(wrong)) << wrong;
    }
}

TEST_F(ApiTokens, AreKeptAsHashesOnly)
{
    const BasicString secret = Add("monitoring");
    const BasicString content = folder.Read("users.db") + folder.Read("users.db-wal");
    EXPECT_NE(content.find("monitoring"), BasicString::npos);
    EXPECT_EQ(content.find(secret.substr(4)), BasicString::npos);
}

TEST_F(ApiTokens, EndAtOnceWhenAnyProcessRemovesThem)
{
    for (UserManager* const remover : {&users, &elsewhere})
    {
        const BasicString secret = Add("monitoring");
        const SecurityToken token = users.LogInWithApiToken(secret).value();
        EXPECT_EQ(remover->RemoveApiToken("Monitoring").value().name, "monitoring");
        EXPECT_FALSE(users.TryGetUser(token));
        EXPECT_FALSE(users.LogInWithApiToken(secret));
        (void)Add("monitoring");
        EXPECT_FALSE(users.TryGetUser(token)) << "a new one of the same name";
        EXPECT_TRUE(remover->RemoveApiToken("monitoring"));
        EXPECT_FALSE(remover->RemoveApiToken("monitoring"));
    }
}

TEST_F(ApiTokens, Expire)
{
    const BasicString secret = Add("monitoring", days(1));
    const SecurityToken token = users.LogInWithApiToken(secret).value();
    const ApiTokenInfo info = users.GetApiTokens().at(0);
    EXPECT_EQ(info.expires.value().ToUnixTimeMicroseconds() - info.created.ToUnixTimeMicroseconds(), 86'400'000'000);
    // The time now, as if the day had passed.
    ExecuteSql("UPDATE apiTokens SET expires = created");
    EXPECT_FALSE(users.TryGetUser(token));
    EXPECT_FALSE(users.LogInWithApiToken(secret));
    EXPECT_EQ(users.GetApiTokens().size(), 1u) << "shown until it is removed";
}

TEST_F(ApiTokens, RefuseNamesRolesAndLifetimesThatDoNotFit)
{
    (void)Add("monitoring");
    for (const BasicString name : {"", "Monitoring", " a", "a\nb", "token:a", "Token:a"})
    {
        EXPECT_THROW((void)Add(name), ArgumentException) << name;
    }
    EXPECT_THROW((void)users.AddApiToken("a", "Root", {}, "anna"), ArgumentException);
    for (const int lifetime : {-1, 0, 36501})
    {
        EXPECT_THROW((void)Add("a", days(lifetime)), ArgumentException) << lifetime;
    }
    (void)Add("a", days(36500));
    EXPECT_THROW(users.AddUser("token:monitoring", "some secret words", "Viewer"), ArgumentException)
        << "would be taken for the token";
}

TEST_F(ApiTokens, RecordTheirLastUseWithoutWritingEachTime)
{
    const BasicString secret = Add("monitoring");
    (void)Add("unused");
    EXPECT_TRUE(users.LogInWithApiToken(secret));
    const auto isUsed = [](const UserManager& manager)
    {
        return manager.GetApiTokens().at(0).lastUsed.has_value();
    };
    EXPECT_TRUE(isUsed(users));
    EXPECT_FALSE(isUsed(elsewhere)) << "not written yet";
    users.RecordApiTokenUse();
    const auto tokens = elsewhere.GetApiTokens();
    EXPECT_GE(tokens.at(0).lastUsed.value().GetTicks(), tokens.at(0).created.GetTicks());
    EXPECT_EQ(tokens.at(1), (ApiTokenInfo{"unused", "Engineer", tokens.at(1).created, {}, {}, "anna"}));

    // While another writer keeps it from writing, it does not wait, and loses nothing.
    ExecuteSql("UPDATE apiTokens SET lastUsed = NULL");
    EXPECT_TRUE(users.LogInWithApiToken(secret));
    {
        const WriteLock lock(path);
        users.RecordApiTokenUse();
        EXPECT_FALSE(isUsed(elsewhere));
        EXPECT_TRUE(users.LogInWithApiToken(secret)) << "reading goes on";
    }
    users.RecordApiTokenUse();
    EXPECT_TRUE(isUsed(elsewhere));
}

} // namespace
} // namespace Oxa::System::Um
