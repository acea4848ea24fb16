#include "Oxa/System/Commons/Delegate.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;

struct Adder
{
    int Add(int summand)
    {
        return sum += summand;
    }

    int Peek(int factor) const
    {
        return sum * factor;
    }

    int sum = 0;
};

TEST(CallingDelegates, ReachesTheBoundObjectThroughEveryCopy)
{
    Adder adder;
    const auto add = delegate<int(int)>::Bind(adder, &Adder::Add);
    const auto peek = delegate<int(int)>(std::make_shared<ConstMethodFunctor<Adder, int(int)>>(adder, &Adder::Peek));
    const auto copy = add;
    EXPECT_EQ(add(2), 2);
    EXPECT_EQ(copy(3), 5);
    EXPECT_EQ(peek(10), 50);
}

TEST(CallingDelegates, ThrowsWhenEmpty)
{
    const delegate<int(int)> empty;
    EXPECT_FALSE(empty);
    EXPECT_THROW(empty(1), System::Commons::InvalidOperationException);
}

} // namespace
