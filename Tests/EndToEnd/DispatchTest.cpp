#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;
using testing::Not;

namespace
{

TEST(Dispatching, PassesQueryAndBodyOnAndTheModulesMediaTypeBack)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    const auto answer = host.Ask("POST", "/api/v1/FakeDp/Echo?a=1&%41", admin, "body");
    EXPECT_EQ(answer.result_int(), 200U);
    EXPECT_EQ(answer.body(), "a=1&%41|body");
    EXPECT_EQ(answer["Content-Type"], "text/plain; charset=utf-8");
    EXPECT_EQ(host.Ask("GET", "/api/v1/FakeDp/Echo?x", admin).body(), "x|");
    auto client = host.Connect();
    EXPECT_EQ(client.Ask("HEAD", "/api/v1/FakeDp/Echo?x", admin)["Content-Length"], "2");
    EXPECT_EQ(client.Ask("GET", "/api/v1/FakeDp/Echo?y", admin).body(), "y|")
        << "a body would be read as the next response";
}

TEST(Dispatching, TellsTheAuditTrailHowCommandsEnded)
{
    HostProcess host;
    host.WaitUntilReady();
    ASSERT_EQ(host.RunUserCommand({"add", "eve", "--role", "Viewer"}, "looks only here\n"), 0);
    const BasicString viewer = host.LogIn("eve", "looks only here");
    EXPECT_EQ(host.Ask("GET", "/api/v1/FakeDp/Echo", viewer).result_int(), 200U);
    EXPECT_EQ(GetMember(host.Ask("POST", "/api/v1/FakeControlDp/Echo", viewer).body(), "code"), "no-permission");
    const BasicString admin = host.LogIn();
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/Echo", admin).result_int(), 200U);
    const BasicString refusal = R"({"errorCode":"not \u202Eavailable","resultKind":4,"payload":{"result":false}})";
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/Reply", admin, refusal).body(), refusal);
    const BasicString success = R"({"payload":{"errorCode":"x"},"errorCode":""})";
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/Reply", admin, success).body(), success);
    const auto thrown = host.Ask("POST", "/api/v1/FakeControlDp/Throw", admin);
    EXPECT_EQ(thrown.result_int(), 500U);
    EXPECT_THAT(thrown.body(), Not(HasSubstr("secret")));
    const BasicString requestId = GetMember(thrown.body(), "requestId");
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/ThrowPrivately", admin).result_int(), 500U);
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/LoseService", admin).result_int(), 503U);
    host.Stop();
    const BasicString errors = host.GetProcess().GetErrors();
    const BasicString details = " dataProvider='FakeControlDp' address='127.0.0.1' ";
    for (const BasicString& line :
         {"CommandRefused source='Host.Modules' user='eve' text='Echo'" + details + "errorCode='no-permission'",
          "CommandExecuted source='Host.Modules' user='admin' text='Echo'" + details + "outcome='success'",
          "CommandExecuted source='Host.Modules' user='admin' text='Reply'" + details + "outcome='success'",
          "CommandFailed source='Host.Modules' user='admin' text='Reply'" + details +
              R"(outcome='failure' errorCode='not \u202eavailable')",
          "CommandFailed source='Host.Modules' user='admin' text='Throw'" + details +
              "outcome='failure' cause='exception'",
          "CommandFailed source='Host.Modules' user='admin' text='LoseService'" + details +
              "outcome='failure' cause='no-service'"})
    {
        EXPECT_THAT(errors, HasSubstr(line));
    }
    EXPECT_THAT(errors, testing::ContainsRegex(requestId + ".*the secret cause"));
    EXPECT_THAT(errors, Not(HasSubstr("looks only here")));
}

TEST(Dispatching, GoesOnWhileOneDataProviderHangs)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    const BasicString lock = host.GetFolder().GetPath("hang");
    const BasicString request = " /api/v1/FakeDp/Hang?" + lock + " HTTP/1.1\r\nHost: test\r\n" + admin + "\r\n";
    auto hanging = host.Connect();
    hanging.Write("GET" + request);
    ASSERT_TRUE(Support::Eventually([&lock] { return std::filesystem::exists(lock); }));

    EXPECT_EQ(host.Ask("GET", "/healthz").result_int(), 200U);
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/Echo", admin, "other").body(), "|other");
    auto observer = host.Connect();
    EXPECT_TRUE(Support::Eventually(
        [&observer]
        {
            const BasicString body = observer.Ask("GET", "/readyz").body();
            return body.find("the request '/api/v1/FakeDp/Hang' has lasted ") != BasicString::npos;
        }));
    // Two may wait, and whichever comes last is refused.
    Support::HttpClient clients[] = {host.Connect(), host.Connect(), host.Connect()};
    for (auto& client : clients)
    {
        client.Write("GET /api/v1/FakeDp/Echo?waited HTTP/1.1\r\nHost: test\r\n" + admin + "\r\n");
    }
    const auto hasAnswer = [](auto& client)
    {
        return client.WaitForInput(std::chrono::milliseconds(0));
    };
    auto* const end = std::end(clients);
    ASSERT_TRUE(Support::Eventually([&] { return std::any_of(clients, end, hasAnswer); }));
    auto* const refused = std::find_if(clients, end, hasAnswer);
    EXPECT_EQ(GetMember(refused->Read().body(), "code"), "too-many-requests");

    std::filesystem::remove(lock);
    EXPECT_EQ(hanging.Read().body(), "went on");
    for (auto* client = clients; client != end; ++client)
    {
        EXPECT_TRUE(client == refused || client->Read().body() == "waited|");
    }
    EXPECT_EQ(host.Stop(), 0);
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
