#include "Device/Services/RtcService.hpp"

#include "Oxa/System/Commons/NotSupportedException.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace Oxa::Tests::Device
{

using Oxa::Device::Linux::Services::RtcService;

TEST(ReadingTheClock, GivesWhatTheClockSays)
{
    constexpr int64 before1970 = -86'400'000'000;
    constexpr int64 year2000 = 946'684'800'000'000;
    for (const int64 time : {before1970, int64(-1), int64(0), year2000 - 1, year2000})
    {
        EXPECT_EQ(RtcService([time] { return time; }).ReadDateTime().ToUnixTimeMicroseconds(), time);
    }
    constexpr int64 beforeYear1 = std::numeric_limits<int64>::min();
    EXPECT_EQ(RtcService([] { return beforeYear1; }).ReadDateTime().GetTicks(), 0U);
}

TEST(SettingTheClock, IsNotSupported)
{
    RtcService service(&RtcService::ReadSystemClock);
    EXPECT_THROW(service.WriteDateTime(service.ReadDateTime()), Oxa::System::Commons::NotSupportedException);
}

} // namespace Oxa::Tests::Device
