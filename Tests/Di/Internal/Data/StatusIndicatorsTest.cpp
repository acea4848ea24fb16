#include "Di/Internal/Data/StatusIndicators.hpp"

#include "Di/Internal/Data/SectionSupport.hpp"
#include "Support/FakeDevice.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using Oxa::System::Commons::Diagnostics::Logging::LogLevel;
using Oxa::Tests::Di::WriteToJson;

class ReadingStatusIndicators : public testing::Test
{
protected:
    static constexpr const char* empty = R"({"StatusIndicators":[]})";

    LogRecorder log;
    FakeDevice device;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService> service = device.statusService;
    Services::Modules::Wbm::Di::Internal::Data::StatusIndicators section{"StatusIndicators", service};
};

TEST_F(ReadingStatusIndicators, SplitsTheWordsAndKeepsTheOrder)
{
    EXPECT_EQ(WriteToJson(section), empty);
    device.SetStatus("Status.Leds.Runtime.Run", uint32{0x00030001});
    device.SetStatus("Status.Leds.Pnio.Bf_D", uint32{0xFFFFFFFF});
    device.SetStatus("Status.Leds.Safety.Fs", uint32{2});
    EXPECT_TRUE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section),
              R"({"StatusIndicators":[{"fullName":"Status.Leds.Pnio.Bf_C","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Runtime.Run","stateCode":1,"colorCode":196608},)"
              R"({"fullName":"Status.Leds.Pnio.Bf_D","stateCode":65535,"colorCode":4294901760},)"
              R"({"fullName":"Status.Leds.Runtime.Fail","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Pnio.Sf","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Runtime.Debug","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Zelo.D","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Zelo.E","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Runtime.Ext","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Safety.Run","stateCode":1,"colorCode":65536},)"
              R"({"fullName":"Status.Leds.Safety.Fs","stateCode":2,"colorCode":0}]})");
}

TEST_F(ReadingStatusIndicators, LeavesOutASingleLedOfTheWrongType)
{
    device.SetStatus("Status.Leds.Runtime.Fail", uint64{1});
    EXPECT_TRUE(section.UpdateData());
    const BasicString json = WriteToJson(section);
    EXPECT_EQ(json.find("Runtime.Fail"), BasicString::npos);
    EXPECT_LT(json.find("Pnio.Bf_D"), json.find("Pnio.Sf"));
    EXPECT_NE(json.find("Safety.Fs"), BasicString::npos);
    EXPECT_EQ(log.GetEntries(),
              (std::vector<LogRecorder::Entry>{{LogLevel::Debug,
                                                "Oxa::Services::Modules::Wbm::Di::Internal::Data::StatusIndicators",
                                                "Failed to read LED status values. Read data type!"}}));
}

TEST_F(ReadingStatusIndicators, ListsNothingWhenTheUpdateFails)
{
    EXPECT_TRUE(section.UpdateData());
    for (const int extraResults : {-1, 1})
    {
        device.status.extraResults = extraResults;
        EXPECT_FALSE(section.UpdateData());
        EXPECT_EQ(WriteToJson(section), empty);
        EXPECT_EQ(log.GetEntries().back().level, LogLevel::Debug);
        EXPECT_EQ(log.GetEntries().back().message,
                  "Failed to read LED status values. Expected elements size missmatch!");
        device.status.extraResults = 0;
        EXPECT_TRUE(section.UpdateData());
    }
    EXPECT_EQ(log.GetEntries().size(), 2U);
    device.status.isBroken = true;
    EXPECT_THROW(static_cast<void>(section.UpdateData()), std::runtime_error);
    EXPECT_EQ(WriteToJson(section), empty);
}

} // namespace
