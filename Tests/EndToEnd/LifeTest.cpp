#include "EndToEnd/HostProcess.hpp"
#include "Support/ChildProcess.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace Oxa::Tests::EndToEnd
{

namespace
{

TEST(Ending, LetsRequestsFinishAndTakesEverythingDownInOrder)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString admin = host.LogIn();
    auto idle = host.Connect();
    EXPECT_EQ(idle.Ask("GET", "/readyz").result_int(), 200U);
    const BasicString lock = host.GetFolder().GetPath("hang");
    auto client = host.Connect();
    client.Write("GET /api/v1/FakeDp/Hang?" + lock + " HTTP/1.1\r\nHost: test\r\n" + admin + "\r\n");
    ASSERT_TRUE(Support::Eventually([&lock] { return std::filesystem::exists(lock); }));
    host.GetProcess().SendSignal(SIGTERM);
    EXPECT_TRUE(idle.IsEnded());
    EXPECT_THROW((void)host.Connect(), std::exception);
    std::filesystem::remove(lock);
    const auto answer = client.Read();
    EXPECT_EQ(answer.body(), "went on");
    EXPECT_EQ(host.GetProcess().Wait(), 0);
    EXPECT_EQ(host.GetFolder().Read("trace"),
              "component set up\ncomponent started\nmodule set up\nmodule started\nmodule stopped\nmodule reset\n"
              "module destroyed\nmodule library unloaded\ncomponent stopped\ncomponent destroyed\n");
}

TEST(Ending, DoesNotWaitForAClientThatDoesNotFinishItsRequest)
{
    // Longer than the test may last: it is ended at once.
    HostProcess host({.http = "shutdownSeconds=\"600\""});
    host.WaitUntilReady();
    auto client = host.Connect();
    // In one piece, so that the second one has begun when the first is answered.
    client.Write("GET /healthz HTTP/1.1\r\nHost: test\r\n\r\nGET /healthz HT");
    EXPECT_EQ(client.Read().result_int(), 200U);
    EXPECT_EQ(host.Stop(), 0);
    EXPECT_TRUE(client.IsEnded());
    EXPECT_THAT(host.GetFolder().Read("trace"), testing::HasSubstr("component stopped\ncomponent destroyed\n"));
}

TEST(Ending, DoesNotWaitForEverForAModuleThatHangs)
{
    HostProcess host({.http = "shutdownSeconds=\"1\""});
    host.WaitUntilReady();
    const BasicString lock = host.GetFolder().GetPath("hang");
    auto client = host.Connect();
    client.Write("GET /api/v1/FakeDp/Hang?" + lock + " HTTP/1.1\r\nHost: test\r\n" + host.LogIn() + "\r\n");
    ASSERT_TRUE(Support::Eventually([&lock] { return std::filesystem::exists(lock); }));
    host.GetProcess().SendSignal(SIGINT);
    EXPECT_EQ(host.GetProcess().Wait(), 1);
    EXPECT_THAT(host.GetProcess().GetErrors(), testing::HasSubstr("a request is still in progress"));
}

TEST(Ending, DoesNotDependOnAReaderOfStandardError)
{
    HostProcess host({.http = "shutdownSeconds=\"1\"", .fault = "stop-hangs"});
    host.WaitUntilReady();
    const auto folder = "/proc/" + std::to_string(host.GetProcess().GetNumber());
    const int errors = open((folder + "/fd/2").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(errors, 0);
    for (const BasicString text(512, 'x'); write(errors, text.data(), text.size()) > 0;)
    {
    }
    close(errors);
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeDp/Throw", host.LogIn()).result_int(), 500U);
    host.GetProcess().SendSignal(SIGTERM);
    siginfo_t information = {};
    EXPECT_TRUE(Support::Eventually(
        [&host, &information]
        {
            const auto number = static_cast<id_t>(host.GetProcess().GetNumber());
            return waitid(P_PID, number, &information, WEXITED | WNOHANG | WNOWAIT) == 0 && information.si_pid != 0;
        }));
    EXPECT_EQ(host.GetProcess().Wait(), 1);
}

TEST(Ending, TakesBackWhatAModuleLeavesBehindBeforeItsLibraryGoes)
{
    HostProcess host({.fault = "reset"});
    host.WaitUntilReady();
    EXPECT_EQ(host.Stop(), 0);
    EXPECT_THAT(host.GetProcess().GetErrors(), testing::HasSubstr("the module 'Fake' left 'FakeDp' registered"));
    EXPECT_THAT(host.GetFolder().Read("trace"), testing::HasSubstr("module library unloaded\ncomponent stopped\n"));
}

TEST(Readiness, NamesAComponentThatFailed)
{
    HostProcess host({.fault = "component"});
    host.WaitUntilReady();
    const auto answer = host.Ask("GET", "/readyz");
    EXPECT_EQ(answer.result_int(), 503U);
    EXPECT_THAT(answer.body(), testing::HasSubstr(R"("components":["Fake"],"modules":[],"dataProviders":[])"));
}

TEST(Starting, SaysWhyItCannotListen)
{
    HostProcess first;
    first.WaitUntilReady();
    const BasicString line = "listening on http://127.0.0.1:";
    const BasicString port = first.GetProcess().WaitForLine(line);
    HostProcess second({.http = ""});
    Support::ChildProcess process({OXA_WBM, "--config", first.GetFolder().GetPath("host.xml"), "--state",
                                   second.GetFolder().GetPath("state"), "--port", port, "--variable",
                                   BasicString("FAKES=") + OXA_FAKES});
    EXPECT_EQ(process.Wait(), 1);
    EXPECT_THAT(process.GetErrors(),
                testing::HasSubstr("cannot listen on 127.0.0.1 port " + port + ": Address already in use"));
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
