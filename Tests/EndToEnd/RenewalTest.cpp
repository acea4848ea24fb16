#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <thread>
#include <tuple>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;

namespace
{

/// The shipped module with a device that goes and comes as the test says, beside a module that uses no services.
class Renewal : public testing::Test
{
protected:
    void StartHost(const BasicString& fault)
    {
        host = std::make_unique<HostProcess>(
            HostSettings{.modules = R"(<Module name="Fake" library="${FAKES}/libFakeModuleLibrary.so"/><Module name="Di"
                library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Di.so" settings="${FAKE_TRACE}.d/Di.xml">
                <DataProvider name="DeviceInterfaceDp" safe="true"/></Module>)",
                         .components = R"(<Component name="Device" library="${FAKES}/libFakeDeviceLibrary.so"/>)",
                         .fault = fault});
        std::filesystem::create_directory(host->GetFolder().GetPath("trace.d"));
        RestoreSettings();
        host->WaitUntilReady();
        admin = host->LogIn();
    }

    void RestoreSettings()
    {
        std::filesystem::copy_file(BasicString(OXA_CONFIGURATION) + "/Di.xml",
                                   host->GetFolder().GetPath("trace.d/Di.xml"),
                                   std::filesystem::copy_options::overwrite_existing);
    }

    void TakeDeviceAway()
    {
        host->GetFolder().Write("away", "");
    }

    void BringDeviceBack()
    {
        std::filesystem::remove(host->GetFolder().GetPath("away"));
    }

    [[nodiscard]] Support::HttpClient::Answer
    Ask(const BasicString& target = "DeviceInterfaceDp/GetDataSections?GeneralData")
    {
        return host->Ask("GET", "/api/v1/" + target, admin);
    }

    /// The first answer of that status and with that text.
    Support::HttpClient::Answer WaitFor(unsigned status, const BasicString& text)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        auto answer = Ask();
        while (answer.result_int() != status || answer.body().find(text) == BasicString::npos)
        {
            if (std::chrono::steady_clock::now() > deadline)
            {
                ADD_FAILURE() << status << ' ' << text << " does not come: " << answer.body();
                break;
            }
            std::this_thread::yield();
            answer = Ask();
        }
        return answer;
    }

    [[nodiscard]] std::size_t CountInLog(std::string_view text) const
    {
        const BasicString& log = host->GetProcess().GetErrors();
        std::size_t count = 0;
        for (std::size_t at = log.find(text); at != BasicString::npos; at = log.find(text, at + 1))
        {
            ++count;
        }
        return count;
    }

    std::unique_ptr<HostProcess> host;
    BasicString admin;
};

TEST_F(Renewal, ReadsTheIdentityAgainOnlyOfADeviceThatIsAnotherOne)
{
    const std::tuple<BasicString, BasicString, std::size_t> cases[] = {{"", "serial 2", 1}, {"same", "serial 1", 0}};
    for (const auto& [fault, serialNumber, renewals] : cases)
    {
        StartHost(fault);
        EXPECT_THAT(Ask().body(), HasSubstr("serial 1"));
        TakeDeviceAway();
        const auto away = WaitFor(503, "service-not-available");
        EXPECT_EQ(away["Retry-After"], "1");
        EXPECT_EQ(host->Ask("GET", "/readyz").result_int(), 503U);
        EXPECT_THAT(Ask("pages").body(), HasSubstr(R"("overview","parentPageName":"","visibility":"disabled")"));
        EXPECT_EQ(host->Ask("POST", "/api/v1/FakeDp/Echo", admin).result_int(), 200U);
        BringDeviceBack();
        WaitFor(200, serialNumber);
        EXPECT_EQ(host->Ask("GET", "/readyz").result_int(), 200U);
        EXPECT_EQ(host->Stop(), 0);
        EXPECT_EQ(CountInLog("was set up again"), renewals);
        EXPECT_EQ(CountInLog("ServiceLost"), 1U);
        EXPECT_EQ(CountInLog("ServiceBack"), 1U);
        const BasicString trace = host->GetFolder().Read("trace");
        EXPECT_EQ(trace.find("module set up"), trace.rfind("module set up")) << "of the module without services";
    }
}

TEST_F(Renewal, TriesAgainAfterAReadThatFailed)
{
    StartHost("exception");
    EXPECT_EQ(Ask().result_int(), 503U);
    WaitFor(200, "serial 1");
    EXPECT_EQ(host->Stop(), 0);
}

TEST_F(Renewal, TriesAgainAfterSettingsThatCannotBeRead)
{
    StartHost("");
    TakeDeviceAway();
    WaitFor(503, "service-not-available");
    host->GetFolder().Write("trace.d/Di.xml", "<nonsense");
    BringDeviceBack();
    WaitFor(503, "\"not-available\"");
    EXPECT_THAT(host->Ask("GET", "/readyz").body(), HasSubstr(R"("modules":["Di"])"));
    RestoreSettings();
    WaitFor(200, "serial 2");
    EXPECT_EQ(host->Stop(), 0);
    EXPECT_EQ(CountInLog("' cannot use its settings: " + host->GetFolder().GetPath("trace.d/Di.xml") + ":1: "), 1U);
}

TEST_F(Renewal, EndsWhileTheDeviceIsAway)
{
    StartHost("");
    TakeDeviceAway();
    WaitFor(503, "service-not-available");
    EXPECT_EQ(host->Stop(), 0);
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
