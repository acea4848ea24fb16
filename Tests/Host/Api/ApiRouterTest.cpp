#include "Host/Api/ApiRouter.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Sessions/PasswordWorker.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"
#include "Support/FakeExchange.hpp"
#include "Support/TemporaryFolder.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <gmock/gmock.h>
#include <sodium.h>

#include <algorithm>
#include <map>

namespace Oxa::Host::Api
{

using Http::Handling;
using Http::HttpMethod;
using testing::HasSubstr;
using Tests::Support::FakeExchange;

namespace
{

constexpr std::string_view methodNames[] = {"GET", "HEAD", "POST", "PATCH", "DELETE", "OTHER"};

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
        sessions.emplace(Configuration::SessionConfiguration{}, *users, notifications, loop, [] { return true; });
        router.emplace(ApiRouter::Parts{*sessions, dispatcher, notifications, worker,
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
    BasicString LogIn(const BasicString& roleName, const BasicString& userName = {}, bool mustChangePassword = false)
    {
        const BasicString name = userName.empty() ? "the " + roleName : userName;
        users->AddUser(name, "a long password", roleName, mustChangePassword);
        FakeExchange each;
        return sessions->LogIn(each, name, "a long password").session->key.Get();
    }

    FakeExchange& Ask(const Http::HttpRequest& request)
    {
        exchange = std::make_shared<FakeExchange>();
        exchange->request = request;
        called.reset();
        if (router->Handle(exchange) == Handling::Deferred)
        {
            loop.GetContext().run_one();
            EXPECT_TRUE(exchange->isResumed);
        }
        return *exchange;
    }

    Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("users.sqlite");
    std::optional<System::Um::UserManager> users;
    System::Nm::NotificationManager notifications;
    Threads::EventLoop loop;
    std::optional<Sessions::SessionManager> sessions;
    Modules::ModuleRegistry registry{loop, {}};
    Modules::Dispatcher dispatcher{registry,
                                   notifications,
                                   {[] { return true; },
                                    [](const BasicString&)
                                    {
                                        return true;
                                    }}};
    std::optional<ApiRouter> router;
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work =
        boost::asio::make_work_guard(loop.GetContext());
    Sessions::PasswordWorker worker{loop.GetContext()};
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
    bool isByCookie = false;
    bool mustChangePassword = false;
    BasicString userName = "the " + roleName;
};

struct Source
{
    const char* origin;
    const char* site;
    bool isCrossOrigin;
    bool isNamed;
};

constexpr Source sources[] = {{"", "", false, false},
                              {"http://h", "", false, true},
                              {"http://h", "same-origin", false, true},
                              {"", "none", false, true},
                              {"http://evil", "", true, true},
                              {"null", "", true, true},
                              {"http://h", "cross-site", true, true},
                              {"", "same-site", true, true}};

struct Question
{
    BasicString path;
    /// Null: the path does not allow the method.
    const OperationInfo* info;
    HttpMethod method;
    const Identity& identity;
    const Source& source;
    bool isJson;
};

/// What the table says about a request; 299: its operation.
unsigned FindStatus(const Question& question)
{
    const auto& [path, info, method, identity, source, isJson] = question;
    if (info == nullptr)
    {
        return 405;
    }
    const bool isWrite = !Http::IsRead(method);
    bool isRefused = isWrite && source.isCrossOrigin;
    if (info->access != Access::Open)
    {
        if (identity.roleName.empty())
        {
            return 401;
        }
        const bool isForged = isWrite && identity.isByCookie && (source.isCrossOrigin || !source.isNamed);
        isRefused = isForged || (identity.mustChangePassword && !info->isBeforePasswordChange) ||
                    (info->access == Access::Admin && identity.roleName != "Admin");
    }
    return isRefused ? 403 : info->hasBody && !isJson ? 415 : 299;
}

/// Every path of the table with every method, caller and origin, with and without JSON.
std::vector<Question> MakeQuestions(const std::vector<Identity>& identities)
{
    std::map<BasicString, std::map<HttpMethod, const OperationInfo*>> paths;
    for (const OperationInfo& info : operations)
    {
        paths[MakePath(info)][info.method] = &info;
    }
    std::vector<Question> questions;
    const auto addAll = [&](const BasicString& path, const OperationInfo* info, HttpMethod method)
    {
        for (const Identity& identity : identities)
        {
            for (const Source& source : sources)
            {
                questions.push_back({path, info, method, identity, source, true});
                questions.push_back({path, info, method, identity, source, false});
            }
        }
    };
    for (const auto& [path, methods] : paths)
    {
        for (std::size_t index = 0; index < std::size(methodNames); ++index)
        {
            const auto method = static_cast<HttpMethod>(index);
            const auto found = methods.find(method == HttpMethod::Head ? HttpMethod::Get : method);
            addAll(path, found == methods.end() ? nullptr : found->second, method);
        }
    }
    return questions;
}

/// The privilege matrix.
TEST_F(ApiRouters, LetInWhomTheTableAdmitsAndNobodyElse)
{
    std::vector<Identity> identities = {{"no session", "", "", ""},
                                        {"a wrong token", "", "Bearer wrong", ""},
                                        {"a wrong cookie", "", "", "oxa-session=wrong", true}};
    for (const char* const roleName : {"Viewer", "Engineer", "Admin"})
    {
        const BasicString key = LogIn(roleName);
        const BasicString cookie = "a=b; oxa-session=" + key;
        identities.push_back({BasicString(roleName) + " by token", roleName, "Bearer " + key, ""});
        identities.push_back({BasicString(roleName) + " by cookie", roleName, "", cookie, true});
        identities.push_back({BasicString(roleName) + " by cookie and scheme", roleName, "Basic x", cookie, true});
        identities.push_back({BasicString(roleName) + "'s cookie and a wrong token", "", "Bearer wrong", cookie});
        const BasicString secret = users->AddApiToken(roleName, roleName, {}, "test");
        identities.push_back({BasicString(roleName) + " by API token", roleName, "Bearer " + secret, cookie, false,
                              false, BasicString("token:") + roleName});
    }
    identities.push_back({"an Admin with a made password", "Admin", "Bearer " + LogIn("Admin", "the first", true), "",
                          false, true, "the first"});
    const std::vector<Question> questions = MakeQuestions(identities);
    EXPECT_GE(questions.size(), 25000U);
    for (const Question& each : questions)
    {
        const unsigned status = FindStatus(each);
        Ask({.method = each.method,
             .path = each.path,
             .host = "h",
             .authorization = each.identity.authorization,
             .cookie = each.identity.cookie,
             .contentType = each.isJson ? "application/json" : "text/plain",
             .origin = each.source.origin,
             .fetchSite = each.source.site});
        const bool isCalled = status == 299;
        const bool hasCaller = isCalled && each.info->access != Access::Open;
        ASSERT_TRUE(exchange->status == status && called.has_value() == isCalled &&
                    (!isCalled || *called == each.info->operation) &&
                    (!isCalled || callerName == (hasCaller ? each.identity.userName : "")))
            << methodNames[static_cast<std::size_t>(each.method)] << ' ' << each.path << " by " << each.identity.name
            << " from '" << each.source.origin << "' '" << each.source.site << "', JSON: " << each.isJson << ": "
            << exchange->status << " instead of " << status << ' ' << exchange->body;
    }
}

TEST_F(ApiRouters, PublishEveryRefusalOfRights)
{
    const BasicString token = "Bearer " + LogIn("Viewer");
    for (const OperationInfo& info : operations)
    {
        const BasicString path = MakePath(info);
        Ask({.method = info.method, .path = path, .authorization = token, .contentType = "application/json"});
        EXPECT_EQ(exchange->status, info.access == Access::Admin ? 403U : 299U) << path;
    }
    Ask({.method = HttpMethod::Get, .path = "/api/v1/users", .authorization = token});
    EXPECT_EQ(static_cast<std::ptrdiff_t>(refused.size()),
              1 + std::ranges::count(operations, Access::Admin, &OperationInfo::access));
    const std::vector<std::pair<BasicString, BasicString>> fields = refused.front().fields;
    EXPECT_EQ(refused.front().user, "the Viewer");
    EXPECT_THAT(fields, testing::Contains(testing::Pair("outcome", "refused")));
    EXPECT_THAT(fields, testing::Contains(testing::Pair("object", testing::StartsWith("GET /api/v1/"))));
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
