#include "Device/Services/RtcService.hpp"

#include "Oxa/System/Commons/NotSupportedException.hpp"

#include <gtest/gtest.h>

namespace Oxa::Tests::Device
{

using Oxa::Device::Linux::Services::RtcService;

TEST(ReadingTheClock, GivesNoTimeBefore2000)
{
    constexpr int64 year2000 = 946'684'800'000'000;
    for (const int64 time : {int64(-1), int64(0), year2000 - 1})
    {
        EXPECT_EQ(RtcService([time] { return time; }).ReadDateTime().GetTicks(), 0U) << time;
    }
    const DateTime dateTime = RtcService([] { return year2000; }).ReadDateTime();
    EXPECT_EQ(dateTime.ToIso8601String(), "2000-01-01T00:00:00.0000000Z");
}

TEST(SettingTheClock, IsNotSupported)
{
    RtcService service(&RtcService::ReadSystemClock);
    EXPECT_THROW(service.WriteDateTime(service.ReadDateTime()), Oxa::System::Commons::NotSupportedException);
}

} // namespace Oxa::Tests::Device
