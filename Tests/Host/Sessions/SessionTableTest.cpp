#include "Host/Sessions/SessionTable.hpp"

#include <gtest/gtest.h>

#include <set>

namespace Oxa::Host::Sessions
{

using std::chrono::seconds;
using System::Um::SecurityToken;

namespace
{

class SessionTables : public testing::Test
{
protected:
    /// The key of a new session, which begins a second after the one before; "" when there is no space for it.
    BasicString LogIn(const BasicString& userName)
    {
        now += seconds(1);
        return table.Add({SecurityToken(++tokens), userName}).value_or("");
    }

    [[nodiscard]] bool IsThere(const BasicString& key)
    {
        return table.Find(key, false).has_value();
    }

    SessionTable::TimePoint now;
    uint32 tokens = 0;
    SessionTable table{{.idleTimeout = seconds(100), .lifetime = seconds(250), .maximumPerUser = 3, .maximumTotal = 5},
                       [this]
                       {
                           return now;
                       }};
};

TEST_F(SessionTables, FindASessionByItsWholeKeyOnly)
{
    const BasicString key = LogIn("ann");
    EXPECT_EQ(key.size(), 43U);
    const auto found = table.Find(key, true);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->securityToken, SecurityToken(1));
    EXPECT_EQ(found->userName, "ann");
    EXPECT_EQ(found->remainingLifetime, seconds(250));
    EXPECT_EQ(found->remainingIdleTime, seconds(100));
    EXPECT_NE(found->id, 0U);
    EXPECT_FALSE(IsThere(key.substr(1)));
    EXPECT_FALSE(IsThere(key + "A"));
    EXPECT_FALSE(IsThere(""));
    EXPECT_FALSE(IsThere(FormatSessionId(found->id)));
    EXPECT_TRUE(table.Remove(key));
    EXPECT_FALSE(IsThere(key));
    EXPECT_TRUE(table.TakeEnded().empty());
}

TEST_F(SessionTables, GiveKeysAndIdsThatDiffer)
{
    std::set<BasicString> keys;
    std::set<SessionId> ids;
    for (int index = 0; index < 100; ++index)
    {
        const BasicString key = LogIn("ann");
        keys.insert(key);
        ids.insert(table.Find(key, true)->id);
    }
    EXPECT_EQ(keys.size(), 100U);
    EXPECT_EQ(ids.size(), 100U);
}

TEST_F(SessionTables, EndASessionThatIsNotUsedAndAnyWhenItsTimeIsOver)
{
    const BasicString key = LogIn("ann");
    for (const int wait : {99, 99, 51})
    {
        now += seconds(wait);
        EXPECT_TRUE(table.Find(key, true)) << wait;
    }
    now += seconds(1);
    EXPECT_FALSE(table.Find(key, true));
    EXPECT_EQ(table.TakeEnded().size(), 1U);

    const BasicString idle = LogIn("ann");
    for (const int wait : {50, 49})
    {
        now += seconds(wait);
        EXPECT_TRUE(table.Find(idle, false)) << "a request in the background";
    }
    now += seconds(1);
    EXPECT_FALSE(table.Find(idle, true)) << "was no use";
}

TEST_F(SessionTables, TellHowLongASessionLastsWithoutFurtherUse)
{
    struct Step
    {
        int wait;
        bool isUse;
        int expected;
    };

    const BasicString key = LogIn("ann");
    for (const auto& [wait, isUse, expected] :
         {Step{60, false, 40}, {39, false, 1}, {0, true, 100}, {90, true, 61}, {10, false, 51}, {51, false, -1}})
    {
        now += seconds(wait);
        const auto found = table.Find(key, isUse);
        EXPECT_EQ(found ? found->remainingIdleTime : seconds(-1), seconds(expected))
            << "after " << wait << " s; the end of the lifetime is the last one";
    }
}

TEST_F(SessionTables, EndAUsersLeastRecentlyUsedSessionWhenTheUserHasTooMany)
{
    const BasicString bob = LogIn("bob");
    const BasicString first = LogIn("ann");
    const BasicString second = LogIn("ann");
    const BasicString third = LogIn("ann");
    now += seconds(1);
    EXPECT_TRUE(table.Find(first, true));
    EXPECT_TRUE(table.Find(second, false));
    const BasicString fourth = LogIn("ann");
    EXPECT_FALSE(IsThere(second));
    EXPECT_TRUE(IsThere(bob) && IsThere(first) && IsThere(third) && IsThere(fourth));
    const auto ended = table.TakeEnded();
    ASSERT_EQ(ended.size(), 1U);
    EXPECT_EQ(ended[0].session.logIn.securityToken, SecurityToken(3));
}

TEST_F(SessionTables, TakeTheSpaceOfWhoHasMostAndNeverAnotherUsersOnlySession)
{
    const BasicString bob = LogIn("bob");
    const BasicString ann1 = LogIn("ann");
    const BasicString ann2 = LogIn("ann");
    const BasicString cid1 = LogIn("cid");
    const BasicString cid2 = LogIn("cid");
    const BasicString cid3 = LogIn("cid");
    EXPECT_FALSE(IsThere(cid1)) << "the user's own come first among those of who has most";
    const BasicString dan = LogIn("dan");
    EXPECT_FALSE(IsThere(ann1)) << "two each: the least recently used one";
    const BasicString eve = LogIn("eve");
    EXPECT_FALSE(IsThere(cid2));
    EXPECT_TRUE(IsThere(bob) && IsThere(ann2) && IsThere(cid3) && IsThere(dan) && IsThere(eve));
    EXPECT_EQ(LogIn("fay"), "") << "one each";
    const BasicString again = LogIn("eve");
    EXPECT_NE(again, "");
    EXPECT_FALSE(IsThere(eve)) << "the user's own may go";
    EXPECT_TRUE(IsThere(bob) && IsThere(ann2) && IsThere(cid3) && IsThere(dan) && IsThere(again));
    now += seconds(100);
    EXPECT_NE(LogIn("fay"), "") << "those that were not used have ended";
}

TEST_F(SessionTables, ListAndEndTheSessionsOfOneUserOrOfAll)
{
    LogIn("ann");
    const BasicString key = LogIn("ann");
    LogIn("bob");
    now += seconds(10);
    EXPECT_TRUE(table.Find(key, true));
    now += seconds(5);
    const BasicString ann = "ann";
    const auto entries = table.List(&ann);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].age, seconds(17));
    EXPECT_EQ(entries[0].idleTime, seconds(17));
    EXPECT_EQ(entries[1].age, seconds(16));
    EXPECT_EQ(entries[1].idleTime, seconds(5));
    const auto all = table.List(nullptr);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[2].session.logIn.userName, "bob");

    EXPECT_FALSE(table.Remove(all[2].session.id, &ann)) << "another user's";
    EXPECT_TRUE(table.Remove(all[2].session.id, nullptr));
    EXPECT_FALSE(table.Remove(all[2].session.id, nullptr));
    EXPECT_FALSE(table.Remove(SessionId(0), nullptr));
    EXPECT_TRUE(table.Remove(all[0].session.id, &ann));
    EXPECT_EQ(table.RemoveUser("ann").size(), 1U);
    EXPECT_TRUE(table.List(nullptr).empty());
}

TEST_F(SessionTables, HoldAConfirmationForOneCommandWithinAMinute)
{
    const SessionId id = table.Find(LogIn("ann"), true)->id;
    const SessionId other = table.Find(LogIn("ann"), true)->id;
    EXPECT_FALSE(table.TakeConfirmation(id));
    table.Confirm(id);
    EXPECT_FALSE(table.TakeConfirmation(other));
    EXPECT_TRUE(table.TakeConfirmation(id));
    EXPECT_FALSE(table.TakeConfirmation(id)) << "one command";
    for (const auto& [wait, isValid] : {std::pair(59, true), std::pair(60, false)})
    {
        table.Confirm(id);
        now += seconds(wait);
        EXPECT_EQ(table.TakeConfirmation(id), isValid) << wait;
    }
    EXPECT_FALSE(table.TakeConfirmation(0));
}

} // namespace

} // namespace Oxa::Host::Sessions
