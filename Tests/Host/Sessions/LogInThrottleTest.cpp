#include "Host/Sessions/LogInThrottle.hpp"

#include <gtest/gtest.h>
#include <sodium.h>

#include <optional>

namespace Oxa::Host::Sessions
{

using std::chrono::seconds;

namespace
{

class LogInThrottles : public testing::Test
{
protected:
    LogInThrottles()
    {
        EXPECT_GE(sodium_init(), 0);
    }

    /// Whether a wrong password was checked.
    bool Guess(std::string_view account, std::string_view address)
    {
        LogInThrottle::Try each(throttle, account, address);
        each.KeepPlaces();
        return !each.GetRetryAfter();
    }

    bool GuessKnown(std::string_view number)
    {
        LogInThrottle::Try each(throttle, {number, "ann"});
        each.KeepPlaces();
        return !each.GetRetryAfter();
    }

    /// How many of so many guesses were checked.
    int CountChecked(int guesses, std::string_view account, std::string_view address)
    {
        int checked = 0;
        for (int guess = 0; guess < guesses; ++guess)
        {
            checked += Guess(account, address) ? 1 : 0;
        }
        return checked;
    }

    LogInThrottle::TimePoint now{std::chrono::hours(1)};
    LogInThrottle throttle{{.wrongPasswordsPerAccount = 10, .wrongPasswordsPerAddress = 25},
                           [this]
                           {
                               return now;
                           }};
};

TEST_F(LogInThrottles, CheckTenWrongPasswordsAMinuteOfOneAccountFromOneAddress)
{
    EXPECT_EQ(CountChecked(20, "admin", "192.0.2.1"), 10);
    int checked = 0;
    for (int second = 0; second < 60; ++second)
    {
        now += seconds(1);
        checked += CountChecked(5, "admin", "192.0.2.1");
    }
    EXPECT_EQ(checked, 10) << "one every six seconds";
    now += seconds(600);
    EXPECT_EQ(CountChecked(20, "admin", "192.0.2.1"), 10) << "never more at once";
}

TEST_F(LogInThrottles, TellWhenThereIsAPlaceAgain)
{
    (void)CountChecked(10, "admin", "192.0.2.1");
    EXPECT_EQ(LogInThrottle::Try(throttle, "admin", "192.0.2.1").GetRetryAfter(), seconds(6));
    now += std::chrono::milliseconds(5500);
    EXPECT_EQ(LogInThrottle::Try(throttle, "admin", "192.0.2.1").GetRetryAfter(), seconds(1));
    now += std::chrono::milliseconds(500);
    EXPECT_EQ(LogInThrottle::Try(throttle, "admin", "192.0.2.1").GetRetryAfter(), std::nullopt);
}

TEST_F(LogInThrottles, CountWhatIsTheSameAccountAndTheSameAddress)
{
    const struct
    {
        const char* account;
        const char* address;
        bool isChecked;
    } cases[] = {{"admin", "192.0.2.1", false},         {"ADMIN", "192.0.2.1", false},
                 {"admin", "::ffff:192.0.2.1", false},  {"admin", "192.0.2.2", true},
                 {"nobody", "192.0.2.1", true},         {"admin", "2001:db8:0:1::1", false},
                 {"admin", "2001:db8:0:1:f::2", false}, {"admin", "2001:db8:0:2::1", true},
                 {"admin", "fe80::1%eth0", true},       {"admin", "", true}};

    (void)CountChecked(10, "Admin", "192.0.2.1");
    (void)CountChecked(10, "admin", "2001:db8:0:1:1:1:1:1");
    for (const auto& [account, address, isChecked] : cases)
    {
        EXPECT_EQ(Guess(account, address), isChecked) << account << ' ' << address;
    }
}

TEST_F(LogInThrottles, BoundTheGuessesOfAnAddressOverAllAccounts)
{
    int checked = 0;
    for (int account = 0; account < 50; ++account)
    {
        checked += Guess("user" + std::to_string(account), "192.0.2.1") ? 1 : 0;
    }
    EXPECT_EQ(checked, 25);
    EXPECT_TRUE(Guess("user1", "192.0.2.2"));
}

TEST_F(LogInThrottles, TakeNoPlaceForARightPasswordAndForOneThatIsNotChecked)
{
    for (int logIn = 0; logIn < 100; ++logIn)
    {
        EXPECT_FALSE(LogInThrottle::Try(throttle, "admin", "192.0.2.1").GetRetryAfter());
    }
    EXPECT_EQ(CountChecked(20, "admin", "192.0.2.1"), 10);
    {
        const LogInThrottle::Try refused(throttle, "admin", "192.0.2.1");
        EXPECT_TRUE(refused.GetRetryAfter());
    }
    EXPECT_FALSE(Guess("admin", "192.0.2.1")) << "a refused try has nothing to give back";
}

TEST_F(LogInThrottles, HoldThePlacesOfTriesThatWait)
{
    std::vector<std::unique_ptr<LogInThrottle::Try>> waiting;
    for (int index = 0; index < 10; ++index)
    {
        waiting.push_back(std::make_unique<LogInThrottle::Try>(throttle, "admin", "192.0.2.1"));
        EXPECT_EQ(waiting.back()->GetRank(), static_cast<std::size_t>(index + 1));
    }
    EXPECT_FALSE(Guess("admin", "192.0.2.1"));
    waiting.clear();
    EXPECT_TRUE(Guess("admin", "192.0.2.1"));
}

TEST_F(LogInThrottles, LetKnownBrowsersAndOtherAddressesPastAFullBucket)
{
    for (int address = 0; address < 100; ++address)
    {
        EXPECT_EQ(CountChecked(30, "admin", "127.0.1." + std::to_string(address)), 10);
    }
    const LogInThrottle::Try fresh(throttle, "admin", "127.0.0.1");
    EXPECT_FALSE(fresh.GetRetryAfter());
    EXPECT_EQ(fresh.GetRank(), 1U);
    const LogInThrottle::Try again(throttle, "admin2", "127.0.1.1");
    EXPECT_EQ(again.GetRank(), 11U) << "behind addresses that do not guess";
    for (int guess = 0; guess < 10; ++guess)
    {
        EXPECT_TRUE(GuessKnown("a browser"));
    }
    EXPECT_FALSE(GuessKnown("a browser")) << "its own bucket is full";
    EXPECT_FALSE(LogInThrottle::Try(throttle, {"another browser", "ann"}).GetRetryAfter());
    EXPECT_EQ(LogInThrottle::Try(throttle, {"another browser", "admin"}).GetRank(), 0U);
}

TEST_F(LogInThrottles, RankUsersWithManyTriesAtOnceBehindOthers)
{
    std::vector<std::unique_ptr<LogInThrottle::Try>> waiting;
    for (std::size_t index = 0; index < 100; ++index)
    {
        const BasicString number = "browser " + std::to_string(index);
        waiting.push_back(std::make_unique<LogInThrottle::Try>(
            throttle, LogInThrottle::KnownClient{number, index % 2 == 0 ? "ann" : "Ann"}));
        EXPECT_FALSE(waiting.back()->GetRetryAfter()) << "no known browser keeps another one out";
        EXPECT_EQ(waiting.back()->GetRank(), index);
    }
    EXPECT_EQ(LogInThrottle::Try(throttle, {"browser 100", "admin"}).GetRank(), 0U);
    EXPECT_EQ(LogInThrottle::Try(throttle, "admin", "192.0.2.1").GetRank(), 1U);
    waiting.clear();
    EXPECT_EQ(LogInThrottle::Try(throttle, {"browser 100", "ann"}).GetRank(), 0U);
}

TEST_F(LogInThrottles, StayBoundedAndForgetTheAddressesThatGuessedLeast)
{
    EXPECT_EQ(CountChecked(10, "admin", "192.0.2.1"), 10);
    for (std::size_t index = 0; index < 2 * LogInThrottle::maximumBuckets; ++index)
    {
        EXPECT_TRUE(Guess("admin", "10.0." + std::to_string(index / 256) + '.' + std::to_string(index % 256)));
    }
    EXPECT_FALSE(Guess("admin", "192.0.2.1"));
}

} // namespace

} // namespace Oxa::Host::Sessions
