#include "Oxa/System/Commons/OxaDateTime.hpp"

#include <fmt/format.h>

#include <chrono>

namespace Oxa
{

namespace
{

constexpr int64 ticksPerMicrosecond = 10;
constexpr uint64 ticksPerSecond = 10'000'000;

constexpr auto yearOne = std::chrono::sys_days(std::chrono::year(1) / 1 / 1);
constexpr int64 unixEpochTicks = -std::chrono::duration_cast<std::chrono::seconds>(yearOne.time_since_epoch()).count() *
                                 static_cast<int64>(ticksPerSecond);

} // namespace

DateTime DateTime::FromUnixTimeMicroseconds(int64 microseconds) noexcept
{
    constexpr int64 lowest = -unixEpochTicks / ticksPerMicrosecond;
    constexpr int64 highest = (static_cast<int64>(ticksMask) - unixEpochTicks) / ticksPerMicrosecond;
    if (microseconds <= lowest || microseconds > highest)
    {
        return {0, DateTimeKind::Utc};
    }
    return {static_cast<uint64>(microseconds * ticksPerMicrosecond + unixEpochTicks), DateTimeKind::Utc};
}

int64 DateTime::ToUnixTimeMicroseconds() const noexcept
{
    const int64 ticks = static_cast<int64>(GetTicks()) - unixEpochTicks;
    const int64 microseconds = ticks / ticksPerMicrosecond;
    return ticks % ticksPerMicrosecond < 0 ? microseconds - 1 : microseconds;
}

BasicString DateTime::ToIso8601String() const
{
    using namespace std::chrono;
    const uint64 ticks = GetTicks();
    const auto sinceYearOne = seconds(ticks / ticksPerSecond);
    const auto wholeDays = duration_cast<days>(sinceYearOne);
    const year_month_day date(yearOne + wholeDays);
    const hh_mm_ss time(sinceYearOne - wholeDays);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:07}{}", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time.hours().count(),
                       time.minutes().count(), time.seconds().count(), ticks % ticksPerSecond,
                       GetKind() == DateTimeKind::Utc ? "Z" : "");
}

} // namespace Oxa
