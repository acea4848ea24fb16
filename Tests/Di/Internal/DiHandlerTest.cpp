#include "Di/Internal/DiHandler.hpp"

#include "Di/Internal/Settings/DiSettings.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Support/FakeDevice.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using namespace Oxa::Services::Commons::Wbm;
using Oxa::Services::Modules::Wbm::Di::Internal::DiHandler;
using Oxa::Services::Modules::Wbm::Di::Internal::Settings::DiSettings;
using Oxa::System::Commons::Json::JsonReader;
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
        const ResponseHeader& header = response.GetHeader();
        EXPECT_EQ(static_cast<int>(header.GetContentType()), 2);
        EXPECT_EQ(static_cast<int>(header.GetContentSubtype()), 2);
        EXPECT_EQ(static_cast<int>(header.GetCharsetType()), 1);
        EXPECT_EQ(header.GetMediaType(), "application/json; charset=utf-8");
        return response.GetBody();
    }

    [[nodiscard]] std::size_t CountReads() const
    {
        return device.status.GetReadKeys().size();
    }

    FakeDevice device;
    DiSettings settings;
    DiHandler handler{settings};
};

TEST_F(RequestingData, ReturnsOneSectionOrAnErrorCode)
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

TEST_F(RequestingData, ReturnsAListInItsOrder)
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
    const std::size_t before = CountReads();
    Send("GetDataSections", "Health&Foo");
    EXPECT_EQ(CountReads(), before);

    device.rtcService->isBroken = true;
    EXPECT_EQ(Send("GetDataSections", "DateTime&Health"), Error("DataUpdateError"));
    EXPECT_EQ(CountReads(), before + 1);

    Send("GetDataSections", "Health&Health");
    EXPECT_EQ(CountReads(), before + 3) << "once for each time it is named";
}

TEST_F(RequestingData, PassesOnWhatASectionDoesNotCatch)
{
    device.status.isBroken = true;
    EXPECT_THROW(Send("GetDataSection", "SectionName=Health"), std::runtime_error);
    EXPECT_EQ(Send("GetDataSection", "SectionName=DateTime"), Error("UnknownError"));
}

TEST_F(RequestingData, WritesAllFiveSectionsForAnyBytesOfTheDevice)
{
    using namespace std::string_view_literals;
    device.SetInfo("General.SerialNumber", "\xFF\"\\\x1F\n\x7F</script>\x01\0hidden"sv);
    handler.Setup();
    const BasicString body = Send("GetDataSections", "GeneralData&DateTime&Health&StatusIndicators&Utilization");
    EXPECT_NO_THROW(JsonReader reader(body)) << body;
    std::size_t place = 0;
    for (const char* const part :
         {R"("GeneralData":{)", "\"serialNumber\":\"\xEF\xBF\xBD\\\"\\\\\\u001F\\n\x7F</script>\\u0001\"",
          R"("DateTime":{)", R"("Health":{)", R"("StatusIndicators":[{)", R"("Utilization":{)",
          R"("cpuCoresLoad":[11,12,13,14]}}})"})
    {
        place = body.find(part, place);
        ASSERT_NE(place, BasicString::npos) << part << " is not where it belongs in " << body;
    }
}

TEST_F(RequestingData, ReportsTheSwitch)
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

TEST_F(RequestingData, ReportsWhetherTheCallerMayControl)
{
    EXPECT_EQ(Send("HasControlPermissions", "", 1), Answer(true));
    EXPECT_EQ(Send("HasControlPermissions", "", 2), Answer(false));
    EXPECT_EQ(std::get<0>(device.authorizationService->questions.back()), "oxa.services.wbm/modules/Di/DeviceControl");
}

TEST_F(RequestingData, IsAvailableThroughBothBasesOnlyWithServices)
{
    EXPECT_EQ(device.info.GetReadKeys().front(), "General.ArticleName") << "the order of the sections";
    EXPECT_EQ(device.info.GetReadKeys().back(), "Cpu.Cores.Count");
    const DiHandler fresh(settings);
    const Modules::WbmPageHandlerBase& page = fresh;
    const Modules::WbmRequestHandlerBase& requests = fresh;
    EXPECT_FALSE(page.IsAvailable() || requests.IsAvailable());
    EXPECT_TRUE(static_cast<const Modules::WbmPageHandlerBase&>(handler).IsAvailable());
    // Sections of a handler without services are set up all the same.
    fresh.Setup();
}

} // namespace
