#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;
using testing::Not;

namespace
{

/// Waits until the program has made the file; the deadline is the test's.
void WaitForFile(const BasicString& path)
{
    while (!std::filesystem::exists(path))
    {
        std::this_thread::yield();
    }
}

struct Refusal
{
    const char* method;
    const char* target;
    bool isLoggedIn;
    unsigned status;
    const char* code;
};

TEST(Dispatching, ChecksInTheGivenOrder)
{
    HostProcess host({.modules = R"(<Module name="Fake" library="${FAKES}/libFakeModuleLibrary.so">
        <DataProvider name="FakeDp" safe="true"/><DataProvider name="LostDp"/></Module>)",
                      .fault = "away"});
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    const Refusal refusals[] = {
        {"GET", "/api/v1/NoDp/Echo", false, 401, "no-session"},
        {"GET", "/api/v1/NoDp/Echo", true, 404, "unknown-data-provider"},
        {"POST", "/api/v1/LostDp/Echo", true, 503, "not-available"},
        {"GET", "/api/v1/FakeControlDp/Nothing", true, 405, "method-not-allowed"},
        {"PUT", "/api/v1/FakeDp/Echo", true, 405, "method-not-allowed"},
        {"POST", "/api/v1/FakeAwayDp/Nothing", true, 503, "not-available"},
        {"POST", "/api/v1/FakeDp/Nothing", true, 404, "unknown-request"},
        {"POST", "/api/v1/FakeDp/Echo/More", true, 404, "unknown-request"},
        {"POST", "/api/v1/FakeDp/Throw", true, 500, "internal-error"},
        {"POST", "/api/v1/FakeDp/ThrowPrivately", true, 500, "internal-error"},
        {"POST", "/api/v1/FakeDp/LoseService", true, 503, "service-not-available"},
        {"GET", "/api/v1/FakeDp", true, 404, "unknown-path"},
        {"GET", "/api/v2/boot", true, 404, "unknown-path"},
        {"POST", "/healthz", true, 405, "method-not-allowed"},
    };
    for (const Refusal& refusal : refusals)
    {
        const auto answer = host.Ask(refusal.method, refusal.target, refusal.isLoggedIn ? admin : BasicString());
        EXPECT_EQ(answer.result_int(), refusal.status) << refusal.method << ' ' << refusal.target << answer.body();
        EXPECT_EQ(GetMember(answer.body(), "code"), refusal.code) << refusal.method << ' ' << refusal.target;
        EXPECT_EQ(GetMember(answer.body(), "status"), std::to_string(refusal.status));
        EXPECT_EQ(answer["Content-Type"], "application/problem+json");
        EXPECT_EQ(answer.count("Retry-After"), refusal.status == 503 ? 1U : 0U);
    }
}

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
    const auto head = host.Ask("HEAD", "/api/v1/FakeDp/Echo?x", admin);
    EXPECT_EQ(head["Content-Length"], "2");
}

TEST(Dispatching, LogsTheCauseOfAModulesExceptionOnceUnderTheIdThatTheClientGets)
{
    HostProcess host;
    host.WaitUntilReady();
    const auto answer = host.Ask("POST", "/api/v1/FakeDp/Throw", host.LogIn());
    EXPECT_THAT(answer.body(), Not(HasSubstr("secret")));
    const BasicString requestId = GetMember(answer.body(), "requestId");
    EXPECT_EQ(requestId.size(), 16U);
    EXPECT_EQ(host.Stop(), 0);
    const BasicString errors = host.GetProcess().GetErrors();
    const std::size_t first = errors.find("the secret cause");
    EXPECT_NE(first, BasicString::npos);
    EXPECT_EQ(errors.find("the secret cause", first + 1), BasicString::npos);
    EXPECT_THAT(errors, HasSubstr(requestId));
}

TEST(Dispatching, RefusesCommandsOfAViewerAndTellsTheAuditTrail)
{
    HostProcess host;
    host.WaitUntilReady();
    ASSERT_EQ(host.RunUserCommand({"add", "eve", "--role", "Viewer"}, "looks only\n"), 0);
    const BasicString viewer = host.LogIn("eve", "looks only");
    EXPECT_EQ(host.Ask("GET", "/api/v1/FakeDp/Echo", viewer).result_int(), 200U);
    EXPECT_EQ(GetMember(host.Ask("POST", "/api/v1/FakeControlDp/Echo", viewer).body(), "code"), "no-permission");
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/Echo", host.LogIn()).result_int(), 200U);
    host.Stop();
    const BasicString errors = host.GetProcess().GetErrors();
    EXPECT_THAT(errors, HasSubstr("CommandRefused source='Host.Modules' user='eve' text='Echo'"));
    EXPECT_THAT(errors, HasSubstr("CommandExecuted source='Host.Modules' user='admin' text='Echo'"));
    EXPECT_THAT(errors, Not(HasSubstr("looks only")));
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
    WaitForFile(lock);

    EXPECT_EQ(host.Ask("GET", "/healthz").result_int(), 200U);
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/Echo", admin, "other").body(), "|other");
    // Two may wait, the third is refused.
    auto second = host.Connect();
    auto third = host.Connect();
    for (auto* const waiting : {&second, &third})
    {
        waiting->Write("GET /api/v1/FakeDp/Echo?waited HTTP/1.1\r\nHost: test\r\n" + admin + "\r\n");
    }
    // Both are in the queue as soon as one more is refused; the loop reads connections in the order of their bytes.
    EXPECT_EQ(GetMember(host.Ask("GET", "/api/v1/FakeDp/Echo", admin).body(), "code"), "too-many-requests");

    std::filesystem::remove(lock);
    EXPECT_EQ(hanging.Read().body(), "went on");
    EXPECT_EQ(second.Read().body(), "waited|");
    EXPECT_EQ(third.Read().body(), "waited|");
    EXPECT_EQ(host.Stop(), 0);
}

TEST(Pages, AreShownAsTheUserSeesThem)
{
    HostProcess host;
    host.WaitUntilReady();
    EXPECT_EQ(host.Ask("GET", "/api/v1/pages").result_int(), 401U);
    EXPECT_EQ(host.Ask("GET", "/api/v1/pages", host.LogIn()).body(),
              R"({"pages":[{"dataName":"FakeDp","pageName":"fake","parentPageName":"","visibility":"visible"}],)"
              R"("languages":["eo"]})");
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
