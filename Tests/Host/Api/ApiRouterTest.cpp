#include "Host/Api/ApiRouter.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"
#include "Support/FakeExchange.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <sodium.h>

#include <map>
#include <set>
#include <tuple>

namespace Oxa::Host::Api
{

using Http::Handling;
using Http::HttpMethod;
using testing::HasSubstr;
using Tests::Support::FakeExchange;

namespace
{

constexpr std::string_view methodNames[] = {"GET", "HEAD", "POST", "PATCH", "DELETE", "OTHER"};

HttpMethod ToMethod(std::size_t index)
{
    return static_cast<HttpMethod>(index);
}

BasicString MakePath(const OperationInfo& info, std::string_view argument = "x")
{
    return BasicString(info.path) + (info.hasArgument ? BasicString(argument) : BasicString());
}

/// Every operation has a handler that responds 299 and keeps what it was given.
class ApiRouters : public testing::Test
{
protected:
    ApiRouters()
    {
        EXPECT_GE(sodium_init(), 0);
        EXPECT_TRUE(System::Um::UserManager::CreateDatabase(path));
        users.emplace(path);
        sessions.emplace(Configuration::SessionConfiguration{}, *users, notifications, loop);
        router.emplace(ApiRouter::Parts{*sessions, dispatcher, notifications,
                                        [](const auto& exchange)
                                        {
                                            return SendProblem(*exchange, Http::Problems::unknownPath);
                                        }});
        for (const OperationInfo& info : operations)
        {
            router->Set(info.operation, [this, &info](const ApiRequest& each) { return Accept(each, info.operation); });
        }
        notifications.Subscribe(
            [this](const System::Nm::Notification& each)
            {
                if (each.kind == System::Nm::NotificationKind::RightsRefused)
                {
                    refused.push_back(each);
                }
            });
    }

    Handling Accept(const ApiRequest& request, Operation operation)
    {
        called = operation;
        argument = request.argument;
        callerName = request.caller == nullptr ? "" : request.caller->userName;
        request.exchange->Send({299, {}, {}});
        return Handling::Completed;
    }

    /// A session of a new user.
    BasicString LogIn(const BasicString& roleName)
    {
        users->AddUser("the " + roleName, "a long password", roleName);
        return sessions->LogIn("the " + roleName, "a long password", "192.0.2.1")->key;
    }

    FakeExchange& Ask(const Http::HttpRequest& request)
    {
        exchange = std::make_shared<FakeExchange>();
        exchange->request = request;
        called.reset();
        EXPECT_EQ(router->Handle(exchange), Handling::Completed);
        return *exchange;
    }

    Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("users.sqlite");
    std::optional<System::Um::UserManager> users;
    System::Nm::NotificationManager notifications;
    Threads::EventLoop loop;
    std::optional<Sessions::SessionManager> sessions;
    Modules::ModuleRegistry registry{loop, {}};
    Modules::Dispatcher dispatcher{registry, notifications};
    std::optional<ApiRouter> router;
    std::shared_ptr<FakeExchange> exchange;
    std::vector<System::Nm::Notification> refused;
    std::optional<Operation> called;
    BasicString argument;
    BasicString callerName;
};

struct Identity
{
    BasicString name;
    /// Empty: no session.
    BasicString roleName;
    BasicString authorization;
    BasicString cookie;
};

struct Source
{
    const char* origin;
    const char* site;
    bool isCrossOrigin;
    bool isNamed;
};

/// What the table says about a request; 299: its operation.
unsigned FindStatus(const OperationInfo* info, HttpMethod method, const Identity& identity, const Source& source,
                    bool isJson)
{
    if (info == nullptr)
    {
        return 405;
    }
    const bool isWrite = method != HttpMethod::Get && method != HttpMethod::Head;
    if (info->access == Access::Open)
    {
        return isWrite && source.isCrossOrigin ? 403 : info->hasBody && !isJson ? 415 : 299;
    }
    if (identity.roleName.empty())
    {
        return 401;
    }
    const bool isByCookie = identity.authorization.empty();
    const bool isForged = isWrite && isByCookie && (source.isCrossOrigin || !source.isNamed);
    const bool isRefused = isForged || (info->access == Access::Admin && identity.roleName != "Admin");
    return isRefused ? 403 : info->hasBody && !isJson ? 415 : 299;
}

/// The privilege matrix: every path and method of the table with every role, credential and origin.
TEST_F(ApiRouters, LetInWhomTheTableAdmitsAndNobodyElse)
{
    std::vector<Identity> identities = {{"nobody", "", "", ""},
                                        {"a wrong token", "", "Bearer wrong", ""},
                                        {"a wrong cookie", "", "", "oxa-session=wrong"},
                                        {"a wrong token beside a cookie", "", "Bearer wrong", "oxa-session="}};
    for (const char* const roleName : {"Viewer", "Engineer", "Admin"})
    {
        const BasicString key = LogIn(roleName);
        identities.push_back({BasicString(roleName) + " with a token", roleName, "Bearer " + key, ""});
        identities.push_back({BasicString(roleName) + " with a cookie", roleName, "", "oxa-session=" + key});
        identities.push_back(
            {BasicString(roleName) + " with another scheme", roleName, "Basic x", "oxa-session=" + key});
        identities[3].cookie = "oxa-session=" + key;
    }
    constexpr Source sources[] = {{"", "", false, false},
                                  {"http://h", "", false, true},
                                  {"http://h", "same-origin", false, true},
                                  {"", "none", false, true},
                                  {"http://evil", "", true, true},
                                  {"null", "", true, true},
                                  {"http://h", "cross-site", true, true},
                                  {"", "same-site", true, true}};
    std::set<BasicString> paths;
    std::map<std::pair<BasicString, HttpMethod>, const OperationInfo*> table;
    for (const OperationInfo& info : operations)
    {
        paths.insert(MakePath(info));
        table[{MakePath(info), info.method}] = &info;
    }
    std::size_t count = 0;
    for (const BasicString& each : paths)
    {
        for (std::size_t method = 0; method < std::size(methodNames); ++method)
        {
            const HttpMethod asked = ToMethod(method) == HttpMethod::Head ? HttpMethod::Get : ToMethod(method);
            const auto found = table.find({each, asked});
            const OperationInfo* const info = found == table.end() ? nullptr : found->second;
            for (const Identity& identity : identities)
            {
                for (const Source& source : sources)
                {
                    for (const bool isJson : {true, false})
                    {
                        const bool isBasic = identity.authorization.starts_with("Basic");
                        const unsigned status = FindStatus(
                            info, ToMethod(method),
                            isBasic ? Identity{"", identity.roleName, "", identity.cookie} : identity, source, isJson);
                        Ask({.method = ToMethod(method),
                             .path = each,
                             .host = "h",
                             .authorization = identity.authorization,
                             .cookie = identity.cookie,
                             .contentType = isJson ? "application/json" : "text/plain",
                             .origin = source.origin,
                             .fetchSite = source.site});
                        ++count;
                        ASSERT_EQ(exchange->status, status)
                            << methodNames[method] << ' ' << each << " by " << identity.name << " from '"
                            << source.origin << "' '" << source.site << "' " << isJson << ": " << exchange->body;
                        ASSERT_EQ(called.has_value(), status == 299);
                        ASSERT_TRUE(!called || *called == info->operation);
                        const bool isOpen = info != nullptr && info->access == Access::Open;
                        ASSERT_TRUE(!called || callerName == (isOpen ? "" : "the " + identity.roleName));
                    }
                }
            }
        }
    }
    EXPECT_GE(count, 7000U);
    EXPECT_EQ(count, paths.size() * std::size(methodNames) * identities.size() * std::size(sources) * 2);
}

TEST_F(ApiRouters, NameTheMethodsOfThePath)
{
    EXPECT_EQ(Ask({.method = HttpMethod::Other, .path = "/healthz"}).fields, "Allow: GET, HEAD\r\n");
    EXPECT_EQ(Ask({.method = HttpMethod::Patch, .path = "/api/v1/session"}).fields,
              "Allow: GET, HEAD, POST, DELETE\r\n");
    EXPECT_THAT(Ask({.method = HttpMethod::Other, .path = "*"}).fields, HasSubstr("Allow: GET, HEAD, POST, "));
    EXPECT_EQ(exchange->status, 204U);
}

TEST_F(ApiRouters, TakeNoOtherSpellingOfAPath)
{
    for (const char* const each : {"/",
                                   "",
                                   "/api",
                                   "/api/",
                                   "/api/v1",
                                   "/api/v1/",
                                   "/api/v1/Session",
                                   "/api/v1/sessio",
                                   "/api/v1/session%2F",
                                   "/api/v1/%73ession",
                                   "//api/v1/session",
                                   "/api//v1/session",
                                   "/api/v1/./session",
                                   "/api/v1/../v1/session",
                                   "/./healthz",
                                   "/healthz/",
                                   "/healthz%00",
                                   "/HEALTHZ",
                                   "/api/v2/session",
                                   "/x/../healthz"})
    {
        const auto& response = Ask({.method = HttpMethod::Get, .path = each});
        EXPECT_TRUE(response.status == 404 || response.status == 401) << each << ": " << response.status;
        EXPECT_FALSE(called) << each;
    }
}

TEST_F(ApiRouters, AskForASessionBeforeTheyTellWhichDataProvidersThereAre)
{
    const BasicString token = "Bearer " + LogIn("Viewer");
    for (const char* const each : {"/api/v1/NoneDp/Get", "/api/v1/session/", "/api/v1/session/x/y", "/api/v1//"})
    {
        EXPECT_THAT(Ask({.method = HttpMethod::Get, .path = each}).body, HasSubstr("\"no-session\"")) << each;
        EXPECT_THAT(Ask({.method = HttpMethod::Get, .path = each, .authorization = token}).body,
                    HasSubstr("\"unknown-data-provider\""))
            << each;
    }
}

TEST_F(ApiRouters, DecodeTheArgumentOrKnowNoSuchPath)
{
    const std::pair<BasicString, const char*> cases[] = {{"x", "x"},
                                                         {"J%C3%BCrgen%20M.", "J\xC3\xBCrgen M."},
                                                         {"a+b%2Fc%25", "a+b/c%"},
                                                         {"%2e%2E", ".."},
                                                         {"", nullptr},
                                                         {"a/b", nullptr},
                                                         {"%", nullptr},
                                                         {"%4", nullptr},
                                                         {"%zz", nullptr},
                                                         {"%FF", nullptr},
                                                         {"%C3", nullptr},
                                                         {"%ED%A0%80", nullptr}};
    const BasicString token = "Bearer " + LogIn("Admin");
    for (const OperationInfo& info : operations)
    {
        for (const auto& [encoded, decoded] : cases)
        {
            if (!info.hasArgument)
            {
                continue;
            }
            const BasicString each = MakePath(info, encoded);
            Ask({.method = info.method, .path = each, .authorization = token, .contentType = "application/json"});
            EXPECT_EQ(called == info.operation, decoded != nullptr) << each;
            EXPECT_TRUE(decoded == nullptr || argument == decoded) << each;
            EXPECT_TRUE(decoded != nullptr || exchange->status == 404) << each << ' ' << exchange->status;
        }
    }
}

} // namespace

} // namespace Oxa::Host::Api
