#include "Oxa/System/Um/Internal/TokenTable.hpp"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace Oxa::System::Um::Internal
{
namespace
{

/// Counts, so that a test knows which token was made when.
std::function<uint32()> MakeFakeRandom()
{
    return [next = uint32{0}]() mutable
    {
        return ++next;
    };
}

TEST(MakingTokens, PassesOverZeroAndValuesInUse)
{
    const std::vector<uint32> numbers = {0, 7, 7, 0, 7, 9};
    TokenTable table([&numbers, position = std::size_t{0}]() mutable { return numbers.at(position++); });
    EXPECT_EQ(table.Add({1, 0}).GetValue(), 7u);
    EXPECT_EQ(table.Add({2, 0}).GetValue(), 9u);
    EXPECT_EQ(table.TryGet(SecurityToken(7)), (Login{1, 0}));
}

TEST(MakingTokens, EndsTheOldestOfAUserThatHasTooMany)
{
    TokenTable table(MakeFakeRandom());
    const SecurityToken other = table.Add({1, 0});
    const SecurityToken oldest = table.Add({2, 0});
    const SecurityToken second = table.Add({2, 0});
    for (std::size_t count = 2; count < TokenTable::maximumTokensPerUser; ++count)
    {
        (void)table.Add({2, 0});
    }
    EXPECT_TRUE(table.TryGet(oldest));
    (void)table.Add({2, 0});
    EXPECT_FALSE(table.TryGet(oldest));
    EXPECT_TRUE(table.TryGet(second));
    EXPECT_TRUE(table.TryGet(other));
}

TEST(MakingTokens, EndsTheOldestOfAllWhenThereAreTooMany)
{
    TokenTable table(MakeFakeRandom());
    for (std::size_t count = 0; count <= TokenTable::maximumTokens; ++count)
    {
        (void)table.Add({static_cast<int64>(count), 0});
    }
    EXPECT_FALSE(table.TryGet(SecurityToken(1)));
    EXPECT_TRUE(table.TryGet(SecurityToken(2)));
}

} // namespace
} // namespace Oxa::System::Um::Internal
