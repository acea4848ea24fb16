#include "Host/Sessions/PasswordRoute.hpp"

#include "Host/Sessions/AccountFixture.hpp"

namespace Oxa::Host::Sessions
{

using Http::HttpMethod;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

class PasswordRoutes : public AccountFixture
{
protected:
    std::shared_ptr<Tests::Support::FakeExchange> Confirm(const BasicString& key, const BasicString& password)
    {
        return Ask(HttpMethod::Post, "/api/v1/session/confirm", key, R"({"password":")" + password + "\"}");
    }

    std::shared_ptr<Tests::Support::FakeExchange> Change(const BasicString& key, const BasicString& password,
                                                         const BasicString& newPassword)
    {
        return Ask(HttpMethod::Post, "/api/v1/session/password", key,
                   R"({"password":")" + password + R"(","newPassword":")" + newPassword + "\"}");
    }
};

TEST_F(PasswordRoutes, RefuseBodiesWithoutPossibleCredentials)
{
    const BasicString longPassword = R"({"user":"ann","password":")" + BasicString(1025, 'x') + "\"}";
    for (const BasicString& body :
         {BasicString(), BasicString("{"), BasicString("[]"), BasicString(R"({"user":"ann"})"),
          BasicString(R"({"user":1,"password":"x"})"), BasicString(R"({"user":{"user":"ann"},"password":"x"})"),
          BasicString(R"({"user":"","user":"ann","password":"x"})"), BasicString(R"({"user":"ann","password":"x"} x)"),
          BasicString(R"({"user":"a\u0000b","password":"x"})"), BasicString(R"({"user":"ann","password":""})"),
          BasicString(R"({"user":"ann","password":"x","other":1})"), longPassword})
    {
        EXPECT_THAT(Ask(HttpMethod::Post, "/api/v1/session", {}, body)->body, HasSubstr("\"invalid-log-in\"")) << body;
    }
    for (const char* contentType : {"", "text/plain", "application/jsonx", "application/json2; a"})
    {
        request.contentType = contentType;
        EXPECT_EQ(TryLogIn("ann", annsPassword)->status, 415U) << contentType;
    }
}

TEST_F(PasswordRoutes, CheckTenWrongPasswordsOfKnownAndUnknownUsersAlike)
{
    for (const char* userName : {"ann", "nobody"})
    {
        for (int guess = 0; guess < 10; ++guess)
        {
            EXPECT_THAT(TryLogIn(userName, "some wrong words")->body, HasSubstr("\"log-in-failed\""));
        }
        const auto refused = TryLogIn(userName, annsPassword);
        EXPECT_THAT(refused->body, HasSubstr("\"too-many-log-ins\"")) << userName;
        EXPECT_EQ(refused->fields, "Retry-After: 6\r\n");
    }
    EXPECT_EQ(TakePublished().back(), "LogInThrottled nobody too many wrong passwords");
}

TEST_F(PasswordRoutes, LetABrowserThatHasLoggedInBeforePastAFullBucket)
{
    const auto first = TryLogIn("ann", annsPassword);
    const std::size_t begin = first->fields.find("oxa-browser=");
    const BasicString cookie = first->fields.substr(begin, first->fields.find(';', begin) - begin);
    for (int guess = 0; guess < 10; ++guess)
    {
        (void)TryLogIn("ann", "some wrong words");
    }
    EXPECT_EQ(TryLogIn("ann", annsPassword)->status, 429U);
    request.cookie = cookie;
    EXPECT_EQ(TryLogIn("ann", annsPassword)->status, 200U);
    for (int guess = 0; guess < 10; ++guess)
    {
        EXPECT_EQ(TryLogIn("boss", "some wrong words")->status, 401U) << "another user: as without the cookie";
        EXPECT_EQ(TryLogIn("ann", "some wrong words")->status, 401U);
    }
    EXPECT_EQ(TryLogIn("boss", bossPassword)->status, 429U);
    EXPECT_EQ(TryLogIn("ann", annsPassword)->status, 429U);
}

TEST_F(PasswordRoutes, ChangeThePasswordAndGoOnWithOneNewSession)
{
    const BasicString other = LogIn();
    const BasicString key = LogIn();
    (void)TakePublished();
    EXPECT_THAT(Change(key, "some wrong words", "quite another secret")->body, HasSubstr("\"wrong-password\""));
    EXPECT_THAT(Change(key, annsPassword, "short")->body, HasSubstr("\"password-refused\""));
    EXPECT_THAT(Change(key, annsPassword, annsPassword)->body, HasSubstr("\"password-refused\""));
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", key)->status, 200U);
    EXPECT_EQ(Ask(HttpMethod::Post, "/api/v1/session/password", key, R"({"password":"x"})")->status, 400U);
    EXPECT_THAT(TakePublished(), ElementsAre("PasswordConfirmationFailed ann the password was not changed"));

    const auto changed = Change(key, annsPassword, "quite another secret");
    EXPECT_EQ(changed->status, 200U) << changed->body;
    EXPECT_THAT(changed->fields, HasSubstr("oxa-session=" + GetMember(changed->body, "token")));
    EXPECT_THAT(TakePublished(), ElementsAre("UserChanged ann ann", "SessionEndedByOther ann ann"));
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", GetMember(changed->body, "token"))->status, 200U);
    for (const BasicString& ended : {key, other})
    {
        EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", ended)->status, 401U);
    }
    EXPECT_EQ(TryLogIn("ann", annsPassword)->status, 401U);
    EXPECT_EQ(TryLogIn("ann", "quite another secret")->status, 200U);
}

TEST_F(PasswordRoutes, ChangeThePasswordOnceAMinuteButTheFirstOneAtOnce)
{
    users.AddUser("eve", "a made password", "Viewer", true);
    BasicString password = "a made password";
    BasicString key = LogIn("eve", password);
    const auto change = [&](const BasicString& newPassword)
    {
        const auto exchange = Change(key, password, newPassword);
        if (exchange->status == 200)
        {
            key = GetMember(exchange->body, "token");
            password = newPassword;
        }
        return exchange;
    };
    EXPECT_EQ(change("quite another secret")->status, 200U) << "forced";
    EXPECT_EQ(change("short")->status, 400U);
    EXPECT_EQ(Change(key, "some wrong words", "one more secret word")->status, 403U);
    EXPECT_EQ(change("one more secret word")->status, 200U) << "what changes nothing does not count";
    (void)TakePublished();
    now += std::chrono::milliseconds(59'001);
    const auto refused = change("quite another secret");
    EXPECT_THAT(refused->body, HasSubstr("\"too-many-password-changes\""));
    EXPECT_EQ(refused->fields, "Retry-After: 1\r\n");
    EXPECT_THAT(TakePublished(), ElementsAre("LogInThrottled eve too many changes of the password"));
    key = LogIn("EVE", password);
    EXPECT_EQ(change("quite another secret")->status, 429U) << "in each of the user's sessions";
    EXPECT_EQ(Change(LogIn(), annsPassword, "quite another secret")->status, 200U) << "another user";
    now += std::chrono::seconds(1);
    EXPECT_EQ(change("quite another secret")->status, 200U);
}

TEST_F(PasswordRoutes, ChangeNoPasswordThatNeedNotBeChangedWhileTheAuditTrailCannotBeWritten)
{
    users.AddUser("eve", "a made password", "Viewer", true);
    const BasicString ann = LogIn();
    const BasicString eve = LogIn("eve", "a made password");
    isAuditWritable = false;
    EXPECT_THAT(Change(ann, annsPassword, "quite another secret")->body, HasSubstr("\"audit-not-writable\""));
    EXPECT_EQ(Change(eve, "a made password", "quite another secret")->status, 200U);
    isAuditWritable = true;
    EXPECT_EQ(Change(ann, annsPassword, "quite another secret")->status, 200U);
}

TEST_F(PasswordRoutes, ConfirmOneCommand)
{
    const BasicString key = LogIn();
    const BasicString bearer = "Bearer " + key;
    const Caller caller = *sessions.Authenticate({.authorization = bearer});
    EXPECT_THAT(Confirm(key, "some wrong words")->body, HasSubstr("\"wrong-password\""));
    EXPECT_FALSE(sessions.TakeConfirmation(caller.sessionId));
    EXPECT_EQ(Confirm(key, annsPassword)->status, 204U);
    EXPECT_TRUE(sessions.TakeConfirmation(caller.sessionId));
    EXPECT_FALSE(sessions.TakeConfirmation(caller.sessionId));
    EXPECT_EQ(TakePublished().back(), "PasswordConfirmed ann the password was given again");
    for (int guess = 0; guess < 9; ++guess)
    {
        EXPECT_EQ(Confirm(key, "some wrong words")->status, 403U);
    }
    EXPECT_EQ(Confirm(key, annsPassword)->status, 429U);
    EXPECT_EQ(Change(key, annsPassword, "quite another secret")->status, 429U);
    EXPECT_EQ(Confirm(LogIn(), annsPassword)->status, 204U) << "another session";
}

} // namespace

} // namespace Oxa::Host::Sessions
