#include "EndToEnd/HostProcess.hpp"
#include "Support/ChildProcess.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
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

TEST(Ending, TellsWhatWasServedWhenAModuleCrashes)
{
    HostProcess host;
    host.WaitUntilReady();
    auto client = host.Connect();
    client.Write("POST /api/v1/FakeDp/Crash HTTP/1.1\r\nHost: test\r\n" + host.LogIn() + "\r\n");
    EXPECT_EQ(host.GetProcess().Wait(), -SIGABRT);
    EXPECT_THAT(host.GetProcess().GetErrors(),
                testing::HasSubstr("\noxa-wbm: SIGABRT in '/api/v1/FakeDp/Crash' of the data provider 'FakeDp' of the "
                                   "module 'Fake'\n"));
}

TEST(StartingAndEnding, TellsTheServiceManager)
{
    const Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("notify");
    const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(manager, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const auto receive = [manager]
    {
        std::array<char, 256> bytes = {};
        return BasicString(bytes.data(), static_cast<std::size_t>(recv(manager, bytes.data(), bytes.size(), 0)));
    };
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
    HostProcess host;
    host.WaitUntilReady();
    unsetenv("NOTIFY_SOCKET");
    EXPECT_THAT(receive(), testing::StartsWith("READY=1\nSTATUS=listening on http://127.0.0.1:"));
    EXPECT_EQ(host.Stop(), 0);
    EXPECT_THAT(receive(), testing::StartsWith("STOPPING=1\n"));
    close(manager);
}

TEST(Ending, TakesBackWhatAModuleLeavesBehindBeforeItsLibraryGoes)
{
    HostProcess host({.fault = "reset"});
    host.WaitUntilReady();
    EXPECT_EQ(host.Stop(), 0);
    EXPECT_THAT(host.GetProcess().GetErrors(), testing::HasSubstr("the module 'Fake' left 'FakeDp' registered"));
    EXPECT_THAT(host.GetFolder().Read("trace"), testing::HasSubstr("module library unloaded\ncomponent stopped\n"));
}

TEST(Ending, DoesNotWaitForEverForAModuleThatDoesNotStop)
{
    HostProcess host({.http = "shutdownSeconds=\"1\"", .fault = "stop-hangs"});
    host.WaitUntilReady();
    EXPECT_EQ(host.Stop(), 1);
    EXPECT_THAT(host.GetProcess().GetErrors(), testing::HasSubstr("the process has not ended in time"));
}

/// Shakes hands with the next process that connects and takes its first question. Returns the connection.
int TakeQuestion(int listening)
{
    constexpr std::string_view consent = "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\n";
    const int connection = accept(listening, nullptr, nullptr);
    BasicString received;
    const auto receiveUntil = [connection, &received](const char* end)
    {
        std::array<char, 1024> bytes = {};
        ssize_t size = 1;
        while (size > 0 && received.find(end) == BasicString::npos)
        {
            size = recv(connection, bytes.data(), bytes.size(), 0);
            received.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        }
    };
    receiveUntil("BEGIN\r\n");
    send(connection, consent.data(), consent.size(), MSG_NOSIGNAL);
    receiveUntil("GetRuns");
    EXPECT_THAT(received, testing::HasSubstr("GetRuns"));
    return connection;
}

TEST(Ending, DoesNotWaitForAProcessThatIsLookedForAndSilent)
{
    const Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("device.sock");
    HostProcess host(
        {.modules = R"(<Module name="Di" library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Di.so" settings=")" +
                    BasicString(OXA_CONFIGURATION) + "/Di.xml\"/>",
         .components = "",
         .services = R"(<Provider name="Oxa.Device" readMilliseconds="60000" socket=")" + path + "\"/>"});
    host.WaitUntilReady();
    const int listening = Support::ListenAt(path);
    const int connection = TakeQuestion(listening);
    EXPECT_EQ(host.Stop(), 0);
    EXPECT_EQ(host.GetProcess().GetErrors().find("ServiceLost"), BasicString::npos);
    close(connection);
    close(listening);
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
