#include "Host/Sessions/SessionRoute.hpp"

#include "Host/Sessions/AccountFixture.hpp"

#include <atomic>
#include <thread>
#include <tuple>

namespace Oxa::Host::Sessions
{

using Http::HttpMethod;
using testing::AllOf;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::Le;
using testing::Not;

namespace
{

class SessionRoutes : public AccountFixture
{
};

TEST_F(SessionRoutes, GiveASessionByCookieAndByTokenUntilLoggingOut)
{
    const BasicString key = LogIn();
    const BasicString cookie = "a=b; oxa-session=" + key;
    request.cookie = cookie;
    const BasicString session = Ask(HttpMethod::Get, "/api/v1/session")->body;
    EXPECT_THAT(
        session,
        HasSubstr(R"({"user":"ann","role":"Viewer","mustChangePassword":false,"idleSeconds":900,"idleLeftSeconds":)"));
    EXPECT_THAT(GetNumber(session, "expiresInSeconds"), AllOf(Gt(43'200 - 60), Le(43'200)));
    EXPECT_EQ(Ask(HttpMethod::Delete, "/api/v1/session")->status, 403U) << "the request may be forged";
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", "wrong")->status, 401U)
        << "the cookie counts only without this field";
    EXPECT_EQ(Ask(HttpMethod::Head, "/api/v1/session", key)->status, 200U);
    const auto exchange = Ask(HttpMethod::Delete, "/api/v1/session", key);
    EXPECT_EQ(exchange->status, 204U);
    EXPECT_EQ(exchange->fields, "Set-Cookie: oxa-session=; Path=/; HttpOnly; SameSite=Strict; Max-Age=0\r\n");
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session")->status, 401U);
}

TEST_F(SessionRoutes, UseCookiesOfTlsOnlyWithTls)
{
    for (const bool isSecure : {false, true})
    {
        request.isSecure = isSecure;
        const auto exchange = TryLogIn("ann", annsPassword);
        const BasicString key = GetMember(exchange->body, "token");
        EXPECT_THAT(exchange->fields,
                    HasSubstr(isSecure ? "__Host-oxa-session=" + key + "; Path=/; HttpOnly; SameSite=Strict; Secure\r\n"
                                       : " oxa-session=" + key + "; Path=/; HttpOnly; SameSite=Strict\r\n"));
        for (const bool isSecureCookie : {false, true})
        {
            const BasicString cookie = (isSecureCookie ? "__Host-oxa-session=" : "oxa-session=") + key;
            request.cookie = cookie;
            EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session")->status, isSecure == isSecureCookie ? 200U : 401U);
            request.cookie = {};
        }
    }
}

TEST_F(SessionRoutes, TellForgeableRequestsFromOthers)
{
    const BasicString key = LogIn();
    const BasicString cookie = "oxa-session=" + key;
    // Origin, Sec-Fetch-Site, Host; whether it is cross-origin, and whether a write with the cookie may be forged.
    const std::tuple<const char*, const char*, const char*, bool, bool> cases[] = {
        {"", "", "h", false, true},
        {"http://h", "", "h", false, false},
        {"https://h", "same-origin", "h", true, true},
        {"h", "", "h", true, true},
        {"", "same-origin", "h", false, false},
        {"", "none", "h", false, false},
        {"http://h", "", "h:80", true, true},
        {"http://h", "", "", true, true},
        {"null", "", "h", true, true},
        {"http://h", "cross-site", "h", true, true},
        {"", "same-site", "h", true, true}};
    for (const auto& [origin, site, host, isCrossOrigin, mayBeForged] : cases)
    {
        Http::HttpRequest each{.method = HttpMethod::Post, .host = host, .origin = origin, .fetchSite = site};
        EXPECT_EQ(IsCrossOrigin(each), isCrossOrigin) << origin << ' ' << site << ' ' << host;
        each.cookie = cookie;
        EXPECT_EQ(sessions.Authenticate(each)->mayBeForged, mayBeForged) << origin << ' ' << site << ' ' << host;
        each.method = HttpMethod::Get;
        EXPECT_FALSE(sessions.Authenticate(each)->mayBeForged);
        each.method = HttpMethod::Delete;
        const BasicString bearer = "Bearer " + key;
        each.authorization = bearer;
        EXPECT_FALSE(sessions.Authenticate(each)->mayBeForged);
        request = each;
        EXPECT_EQ(Ask(HttpMethod::Post, "/api/v1/session", {}, "{}")->status, isCrossOrigin ? 403U : 415U);
    }
}

TEST(ComparingOrigins, RequiresTheSchemeOfTheConnection)
{
    for (const bool isSecure : {false, true})
    {
        for (const BasicString origin : {"http://h", "https://h", "ws://h", "h", "http://h/", "https://H"})
        {
            const Http::HttpRequest request{.host = "h", .origin = origin, .isSecure = isSecure};
            EXPECT_EQ(IsCrossOrigin(request), origin != (isSecure ? "https://h" : "http://h")) << origin;
        }
    }
}

TEST_F(SessionRoutes, ApplyChangesOfTheUserFromTheNextRequest)
{
    const BasicString key = LogIn();
    const auto getSession = [this, &key]
    {
        return Ask(HttpMethod::Get, "/api/v1/session", key);
    };
    users.ChangeUser("ann", {.roleName = "Engineer"});
    EXPECT_THAT(getSession()->body, HasSubstr(R"("role":"Engineer")"));
    users.ChangeUser("ann", {.roleName = "Admin"});
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/users", key)->status, 200U);
    users.ChangeUser("ann", {.roleName = "Viewer"});
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/users", key)->status, 403U);
    users.ChangeUser("ann", {.isDisabled = true});
    (void)TakePublished();
    EXPECT_EQ(getSession()->status, 401U);
    EXPECT_THAT(TakePublished(), ElementsAre("SessionExpired ann the user's logins were ended"));
    users.ChangeUser("ann", {.isDisabled = false});
    EXPECT_EQ(getSession()->status, 401U) << "the session has ended";
}

TEST_F(SessionRoutes, GrantNothingAfterTheRoleHasChanged)
{
    const BasicString bearer = "Bearer " + LogIn();
    // As the command line does it, in a process of its own.
    System::Um::UserManager other(path);
    for (const char* roleName : {"Admin", "Viewer", "Engineer", "Viewer", "Admin", "Viewer"})
    {
        std::atomic<bool> isChanged = false;
        std::thread change(
            [&]
            {
                other.ChangeUser("ann", {.roleName = roleName});
                isChanged = true;
            });
        for (bool wasChanged = false; !wasChanged;)
        {
            wasChanged = isChanged;
            const auto caller = sessions.Authenticate({.authorization = bearer});
            EXPECT_TRUE(!wasChanged || caller->roleName == roleName) << caller->roleName << " after " << roleName;
        }
        change.join();
    }
}

TEST_F(SessionRoutes, EndTheSessionThatALogInCameWith)
{
    const BasicString before = LogIn();
    const BasicString cookie = "oxa-session=" + before;
    request.cookie = cookie;
    EXPECT_EQ(TryLogIn("ann", "some wrong words")->status, 401U);
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", before)->status, 200U);
    EXPECT_EQ(TryLogIn("boss", bossPassword)->status, 200U);
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", before)->status, 401U);
}

TEST_F(SessionRoutes, ListAndEndOnesOwnAndForAdministratorsAllSessions)
{
    request.userAgent = "Browser \"1\"";
    const BasicString first = LogIn();
    const BasicString second = LogIn();
    const BasicString boss = LogIn("boss", bossPassword);
    const BasicString list = Ask(HttpMethod::Get, "/api/v1/sessions", first)->body;
    EXPECT_THAT(list,
                testing::MatchesRegex(
                    R"(\{"sessions":\[\{"id":"[0-9a-f]{16}","user":"ann","address":"192.0.2.1",)"
                    R"re("userAgent":"Browser \\"1\\"","created":"[^"]+Z","lastUsed":"[^"]+Z","current":[a-z]+\},)re"
                    R"(\{"id":[^{}]+\}\]\})"));
    EXPECT_THAT(list, HasSubstr("\"current\":true"));
    EXPECT_THAT(list, HasSubstr("\"current\":false"));
    request.query = "all=true";
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/sessions", first)->status, 403U);
    EXPECT_THAT(Ask(HttpMethod::Get, "/api/v1/sessions", boss)->body, HasSubstr(R"("user":"ann")"));
    request.query = {};

    const auto idOf = [this](const BasicString& key)
    {
        const BasicString bearer = "Bearer " + key;
        return FormatSessionId(sessions.Authenticate({.authorization = bearer})->sessionId);
    };
    for (const BasicString& id : {idOf(boss), BasicString("0"), BasicString("x"), idOf(second) + "0"})
    {
        EXPECT_EQ(Ask(HttpMethod::Delete, "/api/v1/sessions/" + id, first)->status, 404U) << id;
    }
    (void)TakePublished();
    EXPECT_EQ(Ask(HttpMethod::Delete, "/api/v1/sessions/" + idOf(second), boss)->status, 204U);
    EXPECT_THAT(TakePublished(), ElementsAre("SessionEndedByOther boss ann"));
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", second)->status, 401U);
    EXPECT_EQ(Ask(HttpMethod::Delete, "/api/v1/sessions/" + idOf(first), first)->status, 204U);
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", first)->status, 401U);
}

TEST_F(SessionRoutes, EndOnlyOnesOwnSessionsWhileTheAuditTrailCannotBeWritten)
{
    const BasicString boss = LogIn("boss", bossPassword);
    const auto end = [this, &boss](const BasicString& key)
    {
        const BasicString bearer = "Bearer " + key;
        const auto id = FormatSessionId(sessions.Authenticate({.authorization = bearer})->sessionId);
        return Ask(HttpMethod::Delete, "/api/v1/sessions/" + id, boss);
    };
    const BasicString ann = LogIn();
    const BasicString second = LogIn("boss", bossPassword);
    isAuditWritable = false;
    EXPECT_THAT(end(ann)->body, HasSubstr("\"audit-not-writable\""));
    EXPECT_EQ(end(second)->status, 204U);
    EXPECT_EQ(Ask(HttpMethod::Delete, "/api/v1/session", boss)->status, 204U);
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", ann)->status, 200U);
    EXPECT_NE(LogIn(), "");
}

TEST_F(SessionRoutes, GiveProgramsWithAnApiTokenNoSession)
{
    const BasicString token = users.AddApiToken("monitor", "Viewer", std::nullopt, "boss");
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", token)->body, R"({"user":"token:monitor","role":"Viewer"})");
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/sessions", token)->body, R"({"sessions":[]})");
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/users", token)->status, 403U);
    const std::pair<HttpMethod, const char*> ofUsers[] = {{HttpMethod::Delete, "/api/v1/session"},
                                                          {HttpMethod::Post, "/api/v1/session/password"},
                                                          {HttpMethod::Post, "/api/v1/session/confirm"}};
    for (const auto& [method, resource] : ofUsers)
    {
        EXPECT_THAT(Ask(method, resource, token, "{}")->body, HasSubstr("not-for-api-tokens")) << resource;
    }
    const BasicString cookie = "oxa-session=" + token;
    request.cookie = cookie;
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session")->status, 401U) << "not as a cookie";
    users.RemoveApiToken("monitor");
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", token)->status, 401U);
}

} // namespace

} // namespace Oxa::Host::Sessions
