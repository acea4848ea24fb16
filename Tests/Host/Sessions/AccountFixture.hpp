#pragma once

#include "Host/Api/AccountOperations.hpp"
#include "Host/Api/ApiRouter.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Sessions/ApiTokenRoute.hpp"
#include "Host/Sessions/PasswordRoute.hpp"
#include "Host/Sessions/PasswordWorker.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Sessions/SessionRoute.hpp"
#include "Host/Sessions/UserRoute.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"
#include "Support/FakeExchange.hpp"
#include "Support/TemporaryFolder.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <gmock/gmock.h>
#include <sodium.h>

#include <memory>
#include <vector>

namespace Oxa::Host::Sessions
{

constexpr const char* annsPassword = "some secret words";
constexpr const char* bossPassword = "other secret words";

/// The routes of sessions, users and API tokens behind the router, with the users "ann", Viewer, and "boss", Admin.
class AccountFixture : public testing::Test
{
protected:
    explicit AccountFixture(const Configuration::SessionConfiguration& configuration = {})
        : sessions(configuration, users, notifications, loop, [this] { return isAuditWritable; })
    {
        users.AddUser("ann", annsPassword, "Viewer");
        users.AddUser("boss", bossPassword, "Admin");
        Api::SetAccountOperations(router, {passwordRoute, sessionRoute, userRoute, apiTokenRoute});
        notifications.Subscribe([this](const System::Nm::Notification& each) { published.push_back(each); });
    }

    /// The response, also of a request that is deferred.
    std::shared_ptr<Tests::Support::FakeExchange> Ask(Http::HttpMethod method, const BasicString& path,
                                                      const BasicString& key = {}, const BasicString& body = {})
    {
        const BasicString authorization = "Bearer " + key;
        auto exchange = std::make_shared<Tests::Support::FakeExchange>();
        exchange->request = request;
        exchange->request.method = method;
        exchange->request.path = path;
        exchange->request.body = body;
        if (!key.empty())
        {
            exchange->request.authorization = authorization;
        }
        if (router.Handle(exchange) == Http::Handling::Deferred)
        {
            loop.GetContext().run_one();
            EXPECT_TRUE(exchange->isResumed);
        }
        return exchange;
    }

    std::shared_ptr<Tests::Support::FakeExchange> TryLogIn(const BasicString& userName, const BasicString& password)
    {
        return Ask(Http::HttpMethod::Post, "/api/v1/session", {},
                   R"({"user":")" + userName + R"(","password":")" + password + "\"}");
    }

    /// The key of a new session.
    BasicString LogIn(const BasicString& userName = "ann", const BasicString& password = annsPassword)
    {
        const auto exchange = TryLogIn(userName, password);
        EXPECT_EQ(exchange->status, 200U) << exchange->body;
        return GetMember(exchange->body, "token");
    }

    /// The text of a member.
    static BasicString GetMember(const BasicString& body, const BasicString& name)
    {
        const std::size_t begin = body.find('"' + name + "\":\"") + name.size() + 4;
        return body.substr(begin, body.find('"', begin) - begin);
    }

    /// The value of a member that is a whole number.
    static int GetNumber(const BasicString& body, const BasicString& name)
    {
        return std::stoi(body.substr(body.find('"' + name + "\":") + name.size() + 3));
    }

    /// "Kind user text" of each notification since the last call.
    std::vector<BasicString> TakePublished()
    {
        std::vector<BasicString> texts;
        for (const auto& each : std::exchange(published, {}))
        {
            texts.push_back(BasicString(GetNotificationKindName(each.kind)) + ' ' + each.user + ' ' + each.text);
        }
        return texts;
    }

    const bool isReady = sodium_init() >= 0;
    Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("users.sqlite");
    const bool isCreated = System::Um::UserManager::CreateDatabase(path);
    System::Um::UserManager users{path};
    std::vector<System::Nm::Notification> published;
    System::Nm::NotificationManager notifications;
    Threads::EventLoop loop;
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work =
        boost::asio::make_work_guard(loop.GetContext());
    bool isAuditWritable = true;
    SessionManager sessions;
    SessionRoute sessionRoute{sessions};
    /// Stands still: hashing may be slow.
    LogInThrottle::TimePoint now{};
    PasswordRoute passwordRoute{sessions,
                                worker,
                                {},
                                [this]
                                {
                                    return now;
                                }};
    UserRoute userRoute{users, sessions, loop};
    ApiTokenRoute apiTokenRoute{users, sessions, loop};
    Modules::ModuleRegistry registry{loop, {}};
    Modules::Dispatcher dispatcher{registry,
                                   notifications,
                                   {[] { return true; },
                                    [](const BasicString&)
                                    {
                                        return true;
                                    }}};
    Api::ApiRouter router{{sessions, dispatcher, notifications, worker, {}}};
    PasswordWorker worker{loop.GetContext()};
    Http::HttpRequest request{.host = "h", .contentType = "Application/JSON; charset=utf-8"};
};

} // namespace Oxa::Host::Sessions
