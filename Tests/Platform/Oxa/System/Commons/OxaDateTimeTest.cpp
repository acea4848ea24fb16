#include "Oxa/System/Commons/OxaDateTime.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;

TEST(ConvertingTimes, KeepsMicrosecondsInBothDirections)
{
    const std::pair<int64, BasicString> cases[] = {
        {0, "1970-01-01T00:00:00.0000000Z"},
        {1'700'000'000'123'456, "2023-11-14T22:13:20.1234560Z"},
        {-1, "1969-12-31T23:59:59.9999990Z"},
        {951'782'400'000'000, "2000-02-29T00:00:00.0000000Z"},
    };
    for (const auto& [microseconds, text] : cases)
    {
        const auto time = DateTime::FromUnixTimeMicroseconds(microseconds);
        EXPECT_EQ(time.ToUnixTimeMicroseconds(), microseconds);
        EXPECT_EQ(time.ToIso8601String(), text);
        EXPECT_EQ(time.GetKind(), DateTimeKind::Utc);
    }
}

TEST(ConvertingTimes, SeparatesTicksAndKindAndDropsPartsTowardsThePast)
{
    const DateTime local(621'355'968'000'000'000U - 1, DateTimeKind::Local);
    EXPECT_EQ(local.ToUnixTimeMicroseconds(), -1);
    EXPECT_EQ(DateTime::FromValue(local.GetValue()), local);
    EXPECT_EQ(DateTime(0, DateTimeKind::Local).GetTicks(), 0U);
    EXPECT_NE(DateTime(0, DateTimeKind::Local).GetValue(), 0U);
    EXPECT_EQ(DateTime::FromUnixTimeMicroseconds(INT64_MIN).GetTicks(), 0U);
    EXPECT_EQ(DateTime().ToIso8601String(), "0001-01-01T00:00:00.0000000");
}

} // namespace
