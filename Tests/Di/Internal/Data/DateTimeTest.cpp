#include "Di/Internal/Data/DateTime.hpp"

#include "Di/Internal/Data/SectionSupport.hpp"
#include "Support/FakeDevice.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <locale>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using Oxa::Device::Interface::Services::IDeviceStatusService;
using Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService;
using Oxa::System::Commons::Diagnostics::Logging::LogLevel;
using Oxa::Tests::Di::WriteToJson;

struct ThousandsGrouping final : std::numpunct<char>
{
    char do_thousands_sep() const override
    {
        return '.';
    }

    std::string do_grouping() const override
    {
        return "\3";
    }
};

class ReadingDateAndTime : public testing::Test
{
protected:
    LogRecorder log;
    FakeDevice device;
    std::shared_ptr<IDeviceStatusService> statusService = device.statusService;
    std::shared_ptr<IRtcService> rtcService = device.rtcService;
    Services::Modules::Wbm::Di::Internal::Data::DateTime section{"DateTime", statusService, rtcService};
};

TEST_F(ReadingDateAndTime, WritesSecondsAsNumberAndMicrosecondsAsText)
{
    EXPECT_EQ(WriteToJson(section), R"({"DateTime":{"systemUpTime":0,"currentTimestamp":""}})");
    EXPECT_TRUE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section), R"({"DateTime":{"systemUpTime":86400,"currentTimestamp":"1700000000123456"}})");

    device.rtcService->now = Oxa::DateTime::FromUnixTimeMicroseconds(-1'500'000);
    EXPECT_TRUE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section), R"({"DateTime":{"systemUpTime":86400,"currentTimestamp":"-1500000"}})");
}

TEST_F(ReadingDateAndTime, KeepsTheTimestampWhenTheClockKnowsNoTime)
{
    EXPECT_TRUE(section.UpdateData());
    device.rtcService->now = Oxa::DateTime(0, DateTimeKind::Local);
    device.SetStatus("Status.System.UpTime.Seconds", uint64{86'401});
    EXPECT_TRUE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section), R"({"DateTime":{"systemUpTime":86401,"currentTimestamp":"1700000000123456"}})");
}

TEST_F(ReadingDateAndTime, ReadsTheClockAlsoWhenTheUpTimeIsOfAnotherType)
{
    device.SetStatus("Status.System.UpTime.Seconds", uint32{5});
    EXPECT_FALSE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section),
              R"({"DateTime":{"systemUpTime":18446744073709551615,"currentTimestamp":"1700000000123456"}})");
    EXPECT_EQ(log.GetEntries(), (std::vector<LogRecorder::Entry>{
                                    {LogLevel::Debug, "Oxa::Services::Modules::Wbm::Di::Internal::Data::DateTime",
                                     "Failed to update system up time. Data type error"}}));
}

TEST_F(ReadingDateAndTime, SwallowsEveryExceptionInSilence)
{
    device.rtcService->isBroken = true;
    EXPECT_FALSE(section.UpdateData());
    EXPECT_EQ(WriteToJson(section), R"({"DateTime":{"systemUpTime":86400,"currentTimestamp":""}})");
    device.status.nextFailure = std::make_exception_ptr("no exception class at all");
    EXPECT_FALSE(section.UpdateData());
    EXPECT_TRUE(log.GetEntries().empty());
}

TEST_F(ReadingDateAndTime, GroupsDigitsAsTheGlobalLocaleDoes)
{
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new ThousandsGrouping));
    EXPECT_TRUE(section.UpdateData());
    std::locale::global(previous);
    EXPECT_NE(WriteToJson(section).find("1.700.000.000.123.456"), BasicString::npos);
}

} // namespace
