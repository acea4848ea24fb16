#include "EndToEnd/HostProcess.hpp"
#include "Processes/DeviceProcess.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <sstream>

namespace Oxa::Tests::Processes
{

using namespace std::chrono_literals;
using testing::HasSubstr;

namespace
{

constexpr const char* sections[] = {"GeneralData", "DateTime", "Health", "StatusIndicators", "Utilization"};

/// Of both modules; each response names the article.
constexpr const char* targets[] = {
    "/api/v1/DeviceInterfaceDp/GetDataSections?GeneralData&DateTime&Health&StatusIndicators&Utilization",
    "/api/v1/DeviceItemsDp/GetItems"};

/// The shipped host and the shipped device services, each in its process.
class TwoProcesses : public testing::Test
{
protected:
    /// The simulated controller under another name.
    void StartDevice(const BasicString& articleName)
    {
        std::ostringstream text;
        text << std::ifstream(OXA_DESCRIPTIONS "/controller.xml").rdbuf();
        BasicString description = text.str();
        const BasicString shippedName = "Demo 400 S";
        description.replace(description.find(shippedName), shippedName.size(), articleName);
        device.GetFolder().Write("device.xml", description);
        device.Start();
    }

    [[nodiscard]] Support::HttpClient::Answer Ask(const char* target = targets[0]) const
    {
        return host.Ask("GET", target, admin);
    }

    [[nodiscard]] bool ComesBack(const BasicString& text, std::chrono::milliseconds timeout) const
    {
        return Eventually(
            [this, &text]
            {
                return std::ranges::all_of(targets,
                                           [this, &text](const char* target)
                                           {
                                               const auto response = Ask(target);
                                               return response.result_int() == 200U &&
                                                      response.body().find(text) != BasicString::npos;
                                           });
            },
            timeout);
    }

    DeviceProcess device;
    EndToEnd::HostProcess host{
        {.modules =
             R"(<Module name="Di" library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Di.so" settings=")" OXA_CONFIGURATION
             R"(/Di.xml"><DataProvider name="DeviceInterfaceDp" safe="true"/></Module>)"
             R"(<Module name="Items" library="${OXA_LIBRARIES}/libOxa.Services.Modules.Wbm.Items.so">)"
             R"(<DataProvider name="DeviceItemsDp" safe="true"/></Module>)",
         .components = "",
         .services = R"(<Provider name="Oxa.Device" socket=")" + device.GetEndpoint().socketPath + "\"/>"}};
    BasicString admin;
};

TEST_F(TwoProcesses, RespondWithTheValuesOfThePresentDevice)
{
    StartDevice("First");
    host.WaitUntilReady();
    admin = host.LogIn();
    const auto response = Ask();
    EXPECT_EQ(response.result_int(), 200U) << response.body();
    EXPECT_THAT(response.body(), HasSubstr("\"First\""));
    for (const char* section : sections)
    {
        EXPECT_THAT(response.body(), HasSubstr('"' + BasicString(section) + "\":"));
    }

    EXPECT_THAT(Ask(targets[1]).body(), HasSubstr("\"First\""));

    device.Suspend();
    EXPECT_EQ(Ask().result_int(), 504U);
    EXPECT_EQ(Ask(targets[1]).result_int(), 503U) << "the connection was given up";
    device.GetProcess().SendSignal(SIGCONT);
    EXPECT_TRUE(ComesBack("\"First\"", 2s));

    device.Kill();
    for (const char* target : targets)
    {
        const auto refusal = Ask(target);
        EXPECT_EQ(refusal.result_int(), 503U) << refusal.body();
        EXPECT_NE(refusal["Retry-After"], "");
    }
    StartDevice("Second");
    EXPECT_TRUE(ComesBack("\"Second\"", 2s)) << Ask().body();
    EXPECT_EQ(host.Stop(), 0);
}

TEST_F(TwoProcesses, StartInAnyOrder)
{
    host.WaitUntilReady();
    admin = host.LogIn();
    EXPECT_EQ(Ask().result_int(), 503U);
    StartDevice("Late");
    EXPECT_TRUE(ComesBack("\"Late\"", 4s));
}

} // namespace

} // namespace Oxa::Tests::Processes
