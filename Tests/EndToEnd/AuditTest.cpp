#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;
using testing::Not;

namespace
{

TEST(AuditTrails, ShowWhoDidWhatOverBothInterfacesWhileTheHostRuns)
{
    HostProcess host;
    host.WaitUntilReady();
    ASSERT_EQ(host.RunUserCommand({"add", "eve", "--role", "Viewer"}, "looks only, nothing else\n"), 0)
        << host.GetCommandOutput();
    const BasicString admin = host.LogIn();
    const auto command = host.Ask("POST", "/api/v1/FakeControlDp/Echo", admin);
    EXPECT_EQ(command.result_int(), 200U);
    const BasicString requestId(command["Oxa-Request-Id"]);
    EXPECT_EQ(requestId.size(), 16U);

    const auto answer = host.Ask("GET", "/api/v1/audit?limit=2", admin);
    EXPECT_EQ(answer.result_int(), 200U);
    EXPECT_THAT(answer.body(),
                HasSubstr(R"("user":"admin","address":"127.0.0.1","action":"CommandExecuted","object":"Echo",)"
                          R"("outcome":"success")"));
    EXPECT_THAT(answer.body(), HasSubstr(R"("requestId":")" + requestId + '"'));
    EXPECT_THAT(answer.body(), HasSubstr(R"("action":"CommandRequested")"));
    const std::size_t next = answer.body().rfind("\"before\":");
    ASSERT_NE(next, BasicString::npos);
    const BasicString before = answer.body().substr(next + 9, answer.body().size() - next - 10);
    const auto earlier = host.Ask("GET", "/api/v1/audit?limit=200&before=" + before, admin);
    EXPECT_THAT(earlier.body(), HasSubstr(R"("action":"UserAdded","object":"eve")"));
    EXPECT_THAT(earlier.body(), HasSubstr(R"("action":"HostStarted")"));
    EXPECT_THAT(earlier.body(), HasSubstr(R"("action":"CommandRequested","object":"eve")"))
        << "a change on the command line, before its outcome";
    EXPECT_THAT(earlier.body(), Not(HasSubstr("Echo")));
    EXPECT_THAT(earlier.body(), Not(HasSubstr("before")));
    for (const char* const query : {"limit=0", "limit=201", "limit=", "before=x", "from=yesterday", "to=2026-13-01",
                                    "action=Unknown", "action=loggedin", "action="})
    {
        const auto refused = host.Ask("GET", BasicString("/api/v1/audit?") + query, admin);
        EXPECT_EQ(GetMember(refused.body(), "code"), "invalid-filter") << query;
    }
    const BasicString viewer = host.LogIn("eve", "looks only, nothing else");
    EXPECT_EQ(GetMember(host.Ask("GET", "/api/v1/audit", viewer).body(), "code"), "no-permission");

    EXPECT_EQ(host.RunAuditCommand({"verify"}), 0) << host.GetCommandOutput();
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("are in order; the last hash is "));
    EXPECT_EQ(host.RunAuditCommand({"list", "--action", "CommandExecuted"}), 0);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("\tCommandExecuted\tadmin\t127.0.0.1\tEcho\tsuccess\t" + requestId));
    EXPECT_EQ(host.RunAuditCommand({"list", "--from", "soon"}), 64);
    EXPECT_EQ(host.RunAuditCommand({"list", "--action", "Commands"}), 64);
    host.Stop();
    EXPECT_EQ(host.RunAuditCommand({"list", "--limit", "1"}), 0);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("\tHostStopped\t"));
    EXPECT_THAT(host.GetFolder().Read("state/audit.sqlite"), Not(HasSubstr("looks only")));
}

TEST(AuditTrails, TellOfARunThatHasNoEnd)
{
    HostProcess host;
    host.WaitUntilReady();
    (void)host.LogIn();
    EXPECT_TRUE(Support::Eventually(
        [&host]
        {
            return host.RunAuditCommand({"list", "--action", "HostStarted"}) == 0 &&
                   host.GetCommandOutput().find("HostStarted") != BasicString::npos;
        }));
    host.GetProcess().SendSignal(SIGKILL);
    host.GetProcess().Wait();
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    // The module crashes, and no response follows.
    auto client = host.Connect();
    client.Write("POST /api/v1/FakeControlDp/Crash HTTP/1.1\r\nHost: test\r\n" + admin + "Content-Length: 0\r\n\r\n");
    EXPECT_EQ(host.GetProcess().Wait(), -SIGABRT);
    EXPECT_THAT(host.GetProcess().GetErrors(),
                HasSubstr("\noxa-wbm: SIGABRT in '/api/v1/FakeControlDp/Crash' of the data provider 'FakeControlDp' of "
                          "the module 'Fake'\n"));
    host.WaitUntilReady();
    EXPECT_NE(host.LogIn(), "");
    host.Stop();
    EXPECT_EQ(host.RunAuditCommand({"list"}), 0);
    const BasicString rows = host.GetCommandOutput();
    EXPECT_THAT(rows, HasSubstr("the process ended without stopping"));
    EXPECT_THAT(rows, HasSubstr("\tCommandRequested\tadmin\t127.0.0.1\tCrash\tunknown\t"));
    EXPECT_THAT(rows, HasSubstr("SIGABRT in '/api/v1/FakeControlDp/Crash'"));
    EXPECT_EQ(host.RunAuditCommand({"verify"}), 0) << host.GetCommandOutput();
}

TEST(AuditTrails, RefuseCommandsAndNothingElseWhileTheyCannotBeWritten)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    const BasicString path = host.GetFolder().GetPath("state/audit.sqlite");
    std::filesystem::rename(path, path + ".old");
    std::filesystem::create_directory(path);
    EXPECT_EQ(GetMember(host.Ask("POST", "/api/v1/FakeControlDp/Echo", admin).body(), "code"), "audit-not-writable");
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeDp/Echo", admin).result_int(), 200U);
    EXPECT_EQ(GetMember(host.Ask("DELETE", "/api/v1/users/eve", admin).body(), "code"), "audit-not-writable");
    EXPECT_THAT(host.Ask("GET", "/readyz").body(), HasSubstr("the audit trail cannot be written"));
    EXPECT_NE(host.LogIn(), "");
    EXPECT_NE(host.RunUserCommand({"remove", "admin"}), 0) << "nothing is changed without a row";
    std::filesystem::remove(path);
    EXPECT_TRUE(
        Support::Eventually([&] { return host.Ask("GET", "/readyz").body().find("audit") == BasicString::npos; }));
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeControlDp/Echo", admin).result_int(), 200U);
    EXPECT_EQ(GetMember(host.Ask("DELETE", "/api/v1/users/eve", admin).body(), "code"), "unknown-user");
    host.Stop();
    EXPECT_EQ(host.RunAuditCommand({"list"}), 0);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("\tAuditNotWritable\t"));
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("\tAuditWritable\t"));
    const BasicString errors = host.GetProcess().GetErrors();
    const std::size_t first = errors.find("the audit trail cannot be written");
    EXPECT_NE(first, BasicString::npos);
    EXPECT_EQ(errors.find("the audit trail cannot be written", first + 1), BasicString::npos) << "once";
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
