#include "EndToEnd/HostProcess.hpp"
#include "Support/UnixSocket.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;

namespace
{

const BasicString fake = R"(<Module name="Fake" library="${FAKES}/libFakeModuleLibrary.so">
    <DataProvider name="FakeDp" safe="true"/><DataProvider name="FakeControlDp"/></Module>)";
const BasicString di =
    R"(<Module name="Di" library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Di.so" settings=")" OXA_CONFIGURATION
    R"(/Di.xml"><DataProvider name="DeviceInterfaceDp" safe="true"/></Module>)";
constexpr const char* echo = "/api/v1/FakeDp/Echo";

class Reloading : public testing::Test
{
protected:
    void StartHost(const HostSettings& settings)
    {
        host = std::make_unique<HostProcess>(settings);
        host->WaitUntilReady();
        admin = host->LogIn();
    }

    void SendHangup()
    {
        host->GetProcess().SendSignal(SIGHUP);
    }

    [[nodiscard]] bool Becomes(const char* target, unsigned status) const
    {
        return Support::Eventually([&] { return host->Ask("GET", target, admin).result_int() == status; });
    }

    [[nodiscard]] bool IsLogged(std::string_view text) const
    {
        return Support::Eventually([&] { return host->GetProcess().GetErrors().find(text) != BasicString::npos; });
    }

    std::unique_ptr<HostProcess> host;
    BasicString admin;
};

TEST_F(Reloading, AddsAndRemovesAModuleWithoutDisturbingAnother)
{
    constexpr const char* read = "/api/v1/DeviceInterfaceDp/GetDataSections";
    StartHost({.modules = fake});
    EXPECT_EQ(host->Ask("GET", read, admin).result_int(), 404U);
    std::atomic<bool> isDone = false;
    auto load = std::async(std::launch::async,
                           [&]
                           {
                               unsigned failures = 0;
                               for (auto client = host->Connect(); !isDone;)
                               {
                                   failures += client.Ask("GET", echo, admin).result_int() != 200 ? 1 : 0;
                               }
                               return failures;
                           });
    for (int round = 0; round < 3; ++round)
    {
        host->WriteManifests(fake + di);
        SendHangup();
        EXPECT_TRUE(Becomes(read, 503)) << "it has no services";
        host->WriteManifests(fake);
        SendHangup();
        EXPECT_TRUE(Becomes(read, 404));
    }
    isDone = true;
    EXPECT_EQ(load.get(), 0U);
    EXPECT_EQ(host->Stop(), 0);
    EXPECT_EQ(host->GetFolder().Read("trace").find("module stopped"),
              host->GetFolder().Read("trace").rfind("module stopped"));
    EXPECT_THAT(host->GetProcess().GetErrors(),
                HasSubstr("ModuleStateChanged source='Host.Modules' user='' text='Di' state='stopped'"));
    EXPECT_THAT(host->GetProcess().GetErrors(), HasSubstr("the configuration was reloaded"));
}

TEST_F(Reloading, UnloadsAModuleWhenItsRequestsHaveEndedAndLoadsItAgain)
{
    StartHost({.modules = fake});
    const BasicString lock = host->GetFolder().GetPath("hang");
    auto client = host->Connect();
    client.Write("GET /api/v1/FakeDp/Hang?" + lock + " HTTP/1.1\r\nHost: test\r\n" + admin + "\r\n");
    ASSERT_TRUE(Support::Eventually([&lock] { return std::filesystem::exists(lock); }));
    host->WriteManifests("");
    SendHangup();
    EXPECT_TRUE(Support::Eventually(
        [this] { return host->Ask("POST", "/api/v1/FakeControlDp/Echo", admin).result_int() == 503U; }));
    EXPECT_THAT(host->GetFolder().Read("trace"), testing::Not(HasSubstr("module stopped")));
    std::filesystem::remove(lock);
    EXPECT_EQ(client.Read().body(), "went on");
    EXPECT_TRUE(Becomes(echo, 404));
    EXPECT_THAT(host->GetFolder().Read("trace"),
                HasSubstr("module stopped\nmodule reset\nmodule destroyed\nmodule library unloaded\n"));
    host->WriteManifests(fake);
    SendHangup();
    EXPECT_TRUE(Becomes(echo, 200));
    EXPECT_EQ(host->Stop(), 0);
}

TEST_F(Reloading, SetsUpAModuleAgainWhoseManifestHasChanged)
{
    StartHost({.modules = fake});
    EXPECT_EQ(host->Ask("GET", echo, admin).result_int(), 200U);
    host->WriteManifests(R"(<Module name="Fake" library="${FAKES}/libFakeModuleLibrary.so">
        <DataProvider name="FakeDp"/></Module>)");
    SendHangup();
    EXPECT_TRUE(Becomes(echo, 405)) << "it is not safe any more";
    EXPECT_EQ(host->Stop(), 0);
}

TEST_F(Reloading, KeepsWhatRunsWhenTheNewOneCannotBeUsed)
{
    StartHost({.modules = fake});
    const BasicString manifest = host->GetFolder().GetPath("modules/Fake.xml");
    host->GetFolder().Write("modules/Fake.xml", "<WbmModuleDocument>\n<Oops");
    host->GetFolder().Write("modules/New.xml", "<Oops/>");
    SendHangup();
    EXPECT_TRUE(IsLogged("the module 'Fake' is refused: " + manifest + ":2: "));
    EXPECT_EQ(host->Ask("GET", echo, admin).result_int(), 200U);
    EXPECT_TRUE(IsLogged("text='New' state='refused'"));
    const auto ready = host->Ask("GET", "/readyz");
    EXPECT_THAT(ready.body(), HasSubstr(R"("modules":["New"])"));
    EXPECT_THAT(ready.body(), HasSubstr("the module 'New' is refused"));
    const auto modules = host->Ask("GET", "/api/v1/modules", admin);
    EXPECT_THAT(modules.body(), HasSubstr(R"({"name":"Fake","state":"running","since":"20)"));
    EXPECT_THAT(modules.body(), HasSubstr(R"("cause":"its new manifest is refused: )" + manifest + ":2: "));
    EXPECT_THAT(modules.body(), HasSubstr(R"("dataProviders":[{"name":"FakeDp","safe":true,"confirm":[]},)"));
    EXPECT_THAT(modules.body(), HasSubstr(R"("pages":["fake"],"languages":[])"));
    EXPECT_THAT(modules.body(), HasSubstr(R"({"name":"New","state":"refused","since":"20)"));

    host->GetFolder().Write("host.xml", "<WbmHostDocument>\n\n<Oops/></WbmHostDocument>");
    SendHangup();
    EXPECT_TRUE(IsLogged("the configuration cannot be reloaded and stays as it was: " +
                         host->GetFolder().GetPath("host.xml:3: ")));
    EXPECT_TRUE(IsLogged("ConfigurationReloaded source='Host' user='' text='SIGHUP' outcome='failure' cause='"));
    EXPECT_EQ(host->Ask("GET", echo, admin).result_int(), 200U);
    EXPECT_EQ(host->Stop(), 0);
}

TEST_F(Reloading, ServesThePagesOfTheModulesThatThereAre)
{
    const Support::TemporaryFolder page;
    page.Write("eo.json", "{}");
    const BasicString module = R"(<Module name="Fake" library="${FAKES}/libFakeModuleLibrary.so"><Page folder=")" +
                               page.GetPath() + R"("><Language name="eo" file="eo.json"/></Page></Module>)";
    StartHost({.modules = module});
    EXPECT_EQ(host->Ask("GET", "/modules/Fake/eo.json").body(), "{}");
    EXPECT_THAT(host->Ask("GET", "/api/v1/modules", admin).body(),
                HasSubstr(R"("languages":[{"name":"eo","file":"/modules/Fake/eo.json"}])"));
    EXPECT_EQ(host->Ask("GET", "/api/v1/pages", admin).body(),
              R"({"pages":[{"dataName":"FakeDp","pageName":"fake","parentPageName":"","visibility":"visible",)"
              R"("module":"Fake","entry":"","texts":{"eo":"/modules/Fake/eo.json"}}],"languages":["eo"]})");
    host->WriteManifests("");
    SendHangup();
    EXPECT_TRUE(Becomes("/modules/Fake/eo.json", 404));
    page.Write("page.js", "export const mount = () => {};");
    host->WriteManifests(module);
    SendHangup();
    EXPECT_TRUE(Becomes("/modules/Fake/eo.json", 200));
    EXPECT_THAT(host->Ask("GET", "/api/v1/pages", admin).body(),
                HasSubstr(R"("entry":"/modules/Fake/page.js","texts")"));
    EXPECT_EQ(host->Stop(), 0);
}

TEST_F(Reloading, OpensTheLogAgain)
{
    const Support::TemporaryFolder logs;
    StartHost({.log = "target=\"file\" file=\"" + logs.GetPath("log") + '"'});
    std::filesystem::rename(logs.GetPath("log"), logs.GetPath("log.1"));
    SendHangup();
    EXPECT_TRUE(Support::Eventually(
        [&logs] { return logs.Read("log").find("the configuration was reloaded") != BasicString::npos; }));
    EXPECT_EQ(host->Stop(), 0);
}

TEST(TrustingModules, RefusesALibraryThatOthersCouldChangeUntilTheyCannot)
{
    HostProcess host(
        {.modules = R"(<Module name="Fake" library="${FAKE_TRACE}.so"><DataProvider name="FakeDp"/></Module>)"});
    const BasicString library = host.GetFolder().GetPath("trace.so");
    std::filesystem::copy_file(BasicString(OXA_FAKES) + "/libFakeModuleLibrary.so", library);
    ASSERT_EQ(chmod(library.c_str(), 0666), 0);
    host.WaitUntilReady();
    EXPECT_THAT(host.Ask("GET", "/readyz").body(), HasSubstr(R"("modules":["Fake"],"dataProviders":["FakeDp"])"));
    EXPECT_EQ(host.GetFolder().Read("trace"), "component set up\ncomponent started\n") << "it was not even loaded";
    ASSERT_EQ(chmod(library.c_str(), 0644), 0);
    EXPECT_TRUE(Support::Eventually([&host] { return host.Ask("GET", "/readyz").result_int() == 200U; }));
    EXPECT_EQ(host.Stop(), 0);
    EXPECT_THAT(host.GetProcess().GetErrors(), HasSubstr("is refused: '" + library + "' can be written by everybody"));
}

TEST(TellingTheServiceManager, FeedsTheWatchdogWhileAModuleHangs)
{
    const Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("notify");
    const int manager = Support::MakeUnixSocket(&bind, path, SOCK_DGRAM);
    ASSERT_GE(manager, 0);
    const auto receive = [manager]
    {
        std::array<char, 256> bytes = {};
        return BasicString(bytes.data(), static_cast<std::size_t>(recv(manager, bytes.data(), bytes.size(), 0)));
    };
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
    setenv("WATCHDOG_USEC", "20000", 1);
    HostProcess host;
    host.WaitUntilReady();
    unsetenv("NOTIFY_SOCKET");
    unsetenv("WATCHDOG_USEC");
    const BasicString lock = host.GetFolder().GetPath("hang");
    auto client = host.Connect();
    constexpr const char* ready = "READY=1\nSTATUS=listening on http://127.0.0.1:";
    bool isReady = false;
    // The socket has room for few messages: as long as they are not received, the host waits.
    auto logIn = std::async(std::launch::async, [&host] { return host.LogIn(); });
    while (logIn.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
    {
        isReady = receive().starts_with(ready) || isReady;
    }
    client.Write("GET /api/v1/FakeDp/Hang?" + lock + " HTTP/1.1\r\nHost: test\r\n" + logIn.get() + "\r\n");
    while (!std::filesystem::exists(lock))
    {
        (void)receive();
    }
    for (int fed = 0; fed < 10;)
    {
        const BasicString message = receive();
        isReady = isReady || message.starts_with(ready);
        fed += message == "WATCHDOG=1" ? 1 : 0;
    }
    EXPECT_TRUE(isReady);
    std::filesystem::remove(lock);
    EXPECT_EQ(client.Read().result_int(), 200U);

    host.GetProcess().SendSignal(SIGHUP);
    BasicString message = receive();
    while (!message.starts_with("RELOADING=1\nMONOTONIC_USEC="))
    {
        message = receive();
    }
    while (message != "READY=1")
    {
        message = receive();
    }
    host.GetProcess().SendSignal(SIGTERM);
    while (!message.starts_with("STOPPING=1\n"))
    {
        message = receive();
    }
    EXPECT_EQ(host.GetProcess().Wait(), 0);
    close(manager);
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
