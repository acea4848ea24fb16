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
    SessionTable::TimePoint now;
    SessionTable table{{.idleTimeout = seconds(10), .lifetime = seconds(25), .maximumPerUser = 2, .maximumTotal = 3},
                       [this]
                       {
                           return now;
                       }};
};

TEST_F(SessionTables, FindASessionByItsWholeKeyOnly)
{
    const BasicString key = table.Add(SecurityToken(7), "ann");
    const auto found = table.Find(key);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->securityToken, SecurityToken(7));
    EXPECT_EQ(found->userName, "ann");
    EXPECT_EQ(found->remainingLifetime, seconds(25));
    EXPECT_FALSE(table.Find(key.substr(1)));
    EXPECT_FALSE(table.Find(key + "A"));
    EXPECT_FALSE(table.Find(""));
    EXPECT_TRUE(table.Remove(key));
    EXPECT_FALSE(table.Find(key));
    EXPECT_TRUE(table.TakeEnded().empty());
}

TEST_F(SessionTables, GiveKeysThatDiffer)
{
    std::set<BasicString> keys;
    for (int index = 0; index < 100; ++index)
    {
        keys.insert(table.Add(SecurityToken(1), std::to_string(index)));
    }
    EXPECT_EQ(keys.size(), 100U);
}

TEST_F(SessionTables, EndASessionThatIsNotUsedAndAnyWhenItsTimeIsOver)
{
    const BasicString key = table.Add(SecurityToken(7), "ann");
    for (const int second : {9, 18, 24})
    {
        now = SessionTable::TimePoint(seconds(second));
        EXPECT_TRUE(table.Find(key)) << second;
    }
    now = SessionTable::TimePoint(seconds(25));
    EXPECT_FALSE(table.Find(key));
    EXPECT_EQ(table.TakeEnded().size(), 1U);

    const BasicString idle = table.Add(SecurityToken(8), "ann");
    now += seconds(10);
    EXPECT_FALSE(table.Find(idle));
}

TEST_F(SessionTables, EndTheSessionThatWasNotUsedForLongestWhenThereAreTooMany)
{
    const BasicString first = table.Add(SecurityToken(1), "ann");
    now += seconds(1);
    const BasicString second = table.Add(SecurityToken(2), "ann");
    now += seconds(1);
    ASSERT_TRUE(table.Find(first));
    now += seconds(1);
    const BasicString third = table.Add(SecurityToken(3), "ann");
    EXPECT_FALSE(table.Find(second)) << "the user may have two";
    now += seconds(1);
    const BasicString bob = table.Add(SecurityToken(4), "bob");
    const BasicString eve = table.Add(SecurityToken(5), "eve");
    EXPECT_FALSE(table.Find(first)) << "all may have three";
    EXPECT_TRUE(table.Find(third) && table.Find(bob) && table.Find(eve));
    const auto ended = table.TakeEnded();
    ASSERT_EQ(ended.size(), 2U);
    EXPECT_EQ(ended[0].securityToken, SecurityToken(2));
    EXPECT_EQ(ended[1].securityToken, SecurityToken(1));
}

TEST_F(SessionTables, AskOnceASecondWhetherTheUserIsStillThere)
{
    const BasicString key = table.Add(SecurityToken(7), "ann");
    EXPECT_FALSE(table.Find(key)->isCheckDue);
    now += seconds(1);
    EXPECT_TRUE(table.Find(key)->isCheckDue);
    EXPECT_FALSE(table.Find(key)->isCheckDue);
}

} // namespace

} // namespace Oxa::Host::Sessions
