#include "Host/Audit/UtcTime.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace Oxa::Host::Audit
{
namespace
{

TEST(ParsingTimes, TakesUtcOnlyAndTheWholeText)
{
    constexpr int64 day = 1'792'627'200'000'000;
    const std::pair<const char*, std::optional<int64>> cases[] = {
        {"2026-10-22", day},
        {"2026-10-22T00:00Z", day},
        {"2026-10-22T01:02Z", day + 3720'000'000},
        {"2026-10-22T01:02:03Z", day + 3723'000'000},
        {"2026-10-22T01:02:03.5Z", day + 3723'500'000},
        {"2026-10-22T01:02:03.1234567Z", day + 3723'123'456},
        {"1970-01-01", 0},
        {"", std::nullopt},
        {"2026-10-22T", std::nullopt},
        {"2026-10-22T01:02", std::nullopt},
        {"2026-10-22T01:02:03+02:00", std::nullopt},
        {"2026-10-22T01:02:03.Z", std::nullopt},
        {"2026-10-22T24:00Z", std::nullopt},
        {"2026-10-22T01:60Z", std::nullopt},
        {"2026-02-29", std::nullopt},
        {"2026-13-01", std::nullopt},
        {"2026-1-01", std::nullopt},
        {"2026-10--1", std::nullopt},
        {"-026-10-22", std::nullopt},
        {"2026-10-22 ", std::nullopt},
        {"2026-10-22T01:02:03.99999999999999999999999Z", day + 3723'999'999},
    };
    for (const auto& [text, expected] : cases)
    {
        EXPECT_EQ(ParseUtcTime(text), expected) << text;
    }
}

} // namespace
} // namespace Oxa::Host::Audit
