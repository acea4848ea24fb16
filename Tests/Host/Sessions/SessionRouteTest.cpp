#include "Host/Sessions/SessionRoute.hpp"

#include "Host/Api/ApiRouter.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"
#include "Support/FakeExchange.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <sodium.h>

#include <tuple>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::HttpMethod;
using testing::HasSubstr;
using Tests::Support::FakeExchange;

namespace
{

constexpr const char* credentials = R"({"user":"Ann","other":[1],"password":"some secret words"})";

class SessionRoutes : public testing::Test
{
protected:
    SessionRoutes()
    {
        EXPECT_GE(sodium_init(), 0);
        EXPECT_TRUE(System::Um::UserManager::CreateDatabase(path));
        users.emplace(path);
        users->AddUser("ann", "some secret words", "Viewer");
        sessions.emplace(Configuration::SessionConfiguration{}, *users, notifications, loop);
        route.emplace(*sessions, loop.GetContext());
        router.emplace(Api::ApiRouter::Parts{*sessions, dispatcher, notifications, {}});
        router->Set(Api::Operation::LogIn, [this](const Api::ApiRequest& each) { return route->LogIn(each.exchange); });
        router->Set(Api::Operation::GetSession,
                    [this](const Api::ApiRequest& each) { return route->SendSession(*each.exchange, *each.caller); });
        router->Set(Api::Operation::LogOut,
                    [this](const Api::ApiRequest& each) { return route->LogOut(*each.exchange); });
    }

    std::shared_ptr<FakeExchange> Ask(HttpMethod method, std::string_view body = {})
    {
        auto exchange = std::make_shared<FakeExchange>();
        exchange->request = request;
        exchange->request.path = "/api/v1/session";
        exchange->request.method = method;
        exchange->request.body = body;
        handling = router->Handle(exchange);
        return exchange;
    }

    /// The key of a new session.
    BasicString LogIn()
    {
        const auto exchange = Ask(HttpMethod::Post, credentials);
        EXPECT_EQ(handling, Handling::Deferred);
        const auto work = boost::asio::make_work_guard(loop.GetContext());
        loop.GetContext().run_one();
        EXPECT_TRUE(exchange->isResumed);
        EXPECT_EQ(exchange->status, 200U) << exchange->body;
        const std::size_t begin = exchange->body.find("\"token\":\"") + 9;
        return exchange->body.substr(begin, exchange->body.find('"', begin) - begin);
    }

    Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("users.sqlite");
    std::optional<System::Um::UserManager> users;
    System::Nm::NotificationManager notifications;
    Threads::EventLoop loop;
    std::optional<SessionManager> sessions;
    std::optional<SessionRoute> route;
    Modules::ModuleRegistry registry{loop, {}};
    Modules::Dispatcher dispatcher{registry, notifications,
                                   []
                                   {
                                       return true;
                                   }};
    std::optional<Api::ApiRouter> router;
    Http::HttpRequest request{.host = "h", .contentType = "Application/JSON; charset=utf-8"};
    Handling handling = Handling::Completed;
};

TEST_F(SessionRoutes, GiveASessionByCookieAndByTokenUntilLoggingOut)
{
    const BasicString key = LogIn();
    const BasicString cookie = "a=b; oxa-session=" + key;
    const BasicString bearer = "bearer " + key;
    request.cookie = cookie;
    EXPECT_THAT(Ask(HttpMethod::Get)->body, HasSubstr(R"("user":"ann","role":"Viewer","idleSeconds":1800,)"));
    EXPECT_EQ(Ask(HttpMethod::Delete)->status, 403U) << "the request may be forged";
    request.authorization = "Bearer wrong";
    EXPECT_EQ(Ask(HttpMethod::Get)->status, 401U) << "the cookie counts only without this field";
    request.authorization = bearer;
    EXPECT_EQ(Ask(HttpMethod::Head)->status, 200U);
    const auto exchange = Ask(HttpMethod::Delete);
    EXPECT_EQ(exchange->status, 204U);
    EXPECT_THAT(exchange->fields, HasSubstr("Max-Age=0"));
    EXPECT_EQ(Ask(HttpMethod::Get)->status, 401U);
    EXPECT_EQ(Ask(HttpMethod::Other)->fields, "Allow: GET, HEAD, POST, DELETE\r\n");
}

TEST_F(SessionRoutes, RefuseBodiesWithoutPossibleCredentials)
{
    const BasicString longPassword = R"({"user":"ann","password":")" + BasicString(1025, 'x') + "\"}";
    for (const BasicString& body :
         {BasicString(), BasicString("{"), BasicString("[]"), BasicString(R"({"user":"ann"})"),
          BasicString(R"({"user":1,"password":"x"})"), BasicString(R"({"user":{"user":"ann"},"password":"x"})"),
          BasicString(R"({"user":"","user":"ann","password":"x"})"), BasicString(R"({"user":"ann","password":"x"} x)"),
          BasicString(R"({"user":"a\u0000b","password":"x"})"), BasicString(R"({"user":"ann","password":""})"),
          longPassword})
    {
        EXPECT_THAT(Ask(HttpMethod::Post, body)->body, HasSubstr("\"invalid-log-in\"")) << body;
        EXPECT_EQ(handling, Handling::Completed);
    }
    for (const char* contentType : {"", "text/plain", "application/jsonx", "application/json2; a"})
    {
        request.contentType = contentType;
        EXPECT_EQ(Ask(HttpMethod::Post, credentials)->status, 415U) << contentType;
    }
}

TEST_F(SessionRoutes, TellForgeableRequestsFromOthers)
{
    const BasicString cookie = "oxa-session=" + LogIn();
    // Origin, Sec-Fetch-Site, Host; whether it is cross-origin, and whether a write with the cookie may be forged.
    const std::tuple<const char*, const char*, const char*, bool, bool> cases[] = {
        {"", "", "h", false, true},
        {"http://h", "", "h", false, false},
        {"https://h", "same-origin", "h", false, false},
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
        EXPECT_EQ(sessions->Authenticate(each)->mayBeForged, mayBeForged) << origin << ' ' << site << ' ' << host;
        each.method = HttpMethod::Get;
        EXPECT_FALSE(sessions->Authenticate(each)->mayBeForged);
        each.method = HttpMethod::Delete;
        const BasicString bearer = "Bearer " + cookie.substr(cookie.find('=') + 1);
        each.authorization = bearer;
        EXPECT_FALSE(sessions->Authenticate(each)->mayBeForged);
        request = each;
        EXPECT_EQ(Ask(HttpMethod::Post, credentials)->status, isCrossOrigin ? 403U : 415U);
    }
}

TEST_F(SessionRoutes, LetEightLogInsWaitAndRefuseTheNext)
{
    std::vector<std::shared_ptr<FakeExchange>> exchanges;
    while (handling != Handling::Completed || exchanges.empty())
    {
        exchanges.push_back(Ask(HttpMethod::Post, R"({"user":"ann","password":"wrong"})"));
        ASSERT_LT(exchanges.size(), 1000U);
    }
    EXPECT_GE(exchanges.size(), 10U) << "one in progress, eight that wait, and one";
    EXPECT_THAT(exchanges.back()->body, HasSubstr("\"too-many-requests\""));
    const auto work = boost::asio::make_work_guard(loop.GetContext());
    for (std::size_t index = 0; index + 1 < exchanges.size(); ++index)
    {
        loop.GetContext().run_one();
        EXPECT_THAT(exchanges[index]->body, HasSubstr("\"log-in-failed\""));
    }
    LogIn();
}

} // namespace

} // namespace Oxa::Host::Sessions
