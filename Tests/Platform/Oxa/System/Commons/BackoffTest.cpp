#include "Oxa/System/Commons/Threading/Backoff.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace std::chrono_literals;
using Oxa::System::Commons::Threading::Backoff;

TEST(BackingOff, DoublesThePauseUpToTheLongestAndStartsAgainAfterASuccess)
{
    Backoff backoff(100ms, 500ms);
    Backoff::TimePoint now{10s};
    EXPECT_TRUE(backoff.IsDue(Backoff::TimePoint())) << "the first attempt is due at once";
    for (const auto pause : {100ms, 200ms, 400ms, 500ms, 500ms})
    {
        backoff.Delay(now);
        EXPECT_EQ(backoff.GetNext(), now + pause);
        EXPECT_FALSE(backoff.IsDue(now + pause - 1ns));
        now += pause;
        EXPECT_TRUE(backoff.IsDue(now));
    }
    backoff.Reset();
    EXPECT_TRUE(backoff.IsDue(Backoff::TimePoint()));
    backoff.Delay(now);
    EXPECT_EQ(backoff.GetNext(), now + 100ms);
}

} // namespace
