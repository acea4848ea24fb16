#include "Di/Internal/DiHandler.hpp"

#include "Di/Internal/Settings/DiSettings.hpp"
#include "Support/FakeDevice.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using namespace Oxa::Services::Commons::Wbm;
using Oxa::Services::Modules::Wbm::Di::Internal::DiHandler;
using Oxa::Services::Modules::Wbm::Di::Internal::Settings::DiSettings;
using Oxa::System::Um::SecurityToken;

constexpr const char* health = R"("Health":{"boardTemperature":41})";
constexpr const char* dateTime = R"("DateTime":{"systemUpTime":86400,"currentTimestamp":"1700000000123456"})";

BasicString Data(const BasicString& payload)
{
    return R"({"errorCode":"","resultKind":1,"payload":{)" + payload + "}}";
}

BasicString Answer(bool result)
{
    return BasicString(R"({"errorCode":"","resultKind":4,"payload":{"result":)") + (result ? "true}}" : "false}}");
}

BasicString Error(const BasicString& code)
{
    return R"({"errorCode":")" + code + R"(","resultKind":4,"payload":{"result":false}})";
}

class RequestingData : public testing::Test
{
protected:
    RequestingData()
    {
        handler.SubscribeServices();
        handler.Setup();
    }

    BasicString Send(const BasicString& requestName, const BasicString& query = {}, uint32 token = 1)
    {
        const WbmResponse response =
            handler.HandleRequest(WbmRequest(requestName, RequestParams(RequestQuery(query)), SecurityToken(token)));
        EXPECT_EQ(response.GetHeader().GetMediaType(), "application/json; charset=utf-8");
        return response.GetBody();
    }

    FakeDevice device;
    DiSettings settings;
    DiHandler handler{settings};
};

TEST_F(RequestingData, AnswersOneSectionOrSaysWhatIsWrong)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"SectionName=Health", Data(health)},
        {"x=1&SectionName=Healt%68&SectionName=Foo", Data(health)},
        {"SectionName=DeviceHealth", Error("InvalidInput")},
        {"SectionName=health", Error("InvalidInput")},
        {"SectionName=", Error("InvalidInput")},
        {"SectionName", Error("InvalidInput")},
        {"sectionname=Health", Error("InvalidRequest")},
        {"Health", Error("InvalidRequest")},
        {"", Error("InvalidRequest")},
    };
    for (const auto& [query, body] : cases)
    {
        EXPECT_EQ(Send("GetDataSection", query), body) << query;
    }
    device.SetStatus("Status.Board.Temperature.Centigrade", uint8{41});
    EXPECT_EQ(Send("GetDataSection", "SectionName=Health"), Error("UnknownError"));
}

TEST_F(RequestingData, AnswersAListInItsOrder)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"Health&DateTime", Data(BasicString(health) + "," + dateTime)},
        {"DateTime%26Health", Data(BasicString(dateTime) + "," + health)},
        {"Health&", Data(health)},
        {"Health&Health", Data(BasicString(health) + "," + health)},
        {"Health&&", Error("InvalidRequest")},
        {"&Health", Error("InvalidRequest")},
        {"", Error("InvalidRequest")},
        {"Health&Foo", Error("InvalidRequest")},
    };
    for (const auto& [query, body] : cases)
    {
        EXPECT_EQ(Send("GetDataSections", query), body) << query;
    }
}

TEST_F(RequestingData, UpdatesNothingBehindAFaultInTheList)
{
    const auto countReads = [this]
    {
        return device.status.GetReadKeys().size();
    };
    const std::size_t before = countReads();
    Send("GetDataSections", "Health&Foo");
    EXPECT_EQ(countReads(), before);

    device.rtcService->isBroken = true;
    EXPECT_EQ(Send("GetDataSections", "DateTime&Health"), Error("DataUpdateError"));
    EXPECT_EQ(countReads(), before + 1);
}

TEST_F(RequestingData, WritesAllFiveSectionsWhateverBytesTheDeviceSays)
{
    device.SetInfo("General.SerialNumber", std::string_view("\xFF\"</script>"));
    handler.Setup();
    const BasicString body = Send("GetDataSections", "GeneralData&DateTime&Health&StatusIndicators&Utilization");
    EXPECT_NE(body.find("\"serialNumber\":\"\xEF\xBF\xBD\\\"</script>\""), BasicString::npos) << body;
    EXPECT_NE(body.find(R"("cpuCoresLoad":[11,12,13,14])"), BasicString::npos) << body;
}

TEST_F(RequestingData, AnswersTheQuestionsAboutTheSwitch)
{
    EXPECT_EQ(Send("IsRunStopSwitchSupported"), Answer(true));
    device.SetStatus("Status.RunStopSwitch.Supported", uint8{1});
    EXPECT_EQ(Send("IsRunStopSwitchSupported"), Answer(false));

    for (const std::string_view position : {"Run", "Stop", "RUN", "run", "Run "})
    {
        device.SetStatus("Status.RunStopSwitch.Position", position);
        EXPECT_EQ(Send("IsRunStopSwitchInRun"), Answer(position == "Run")) << position;
    }
}

TEST_F(RequestingData, TellsWhetherTheCallerMayControl)
{
    EXPECT_EQ(Send("HasControlPermissions", "", 1), Answer(true));
    EXPECT_EQ(Send("HasControlPermissions", "", 2), Answer(false));
}

TEST_F(RequestingData, IsAvailableThroughBothBasesOnlyWithServices)
{
    const DiHandler fresh(settings);
    const Modules::WbmPageHandlerBase& page = fresh;
    const Modules::WbmRequestHandlerBase& requests = fresh;
    EXPECT_FALSE(page.IsAvailable() || requests.IsAvailable());
    EXPECT_TRUE(static_cast<const Modules::WbmPageHandlerBase&>(handler).IsAvailable());
    // Sections of a handler without services are set up all the same.
    fresh.Setup();
}

} // namespace
