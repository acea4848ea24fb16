#include "Oxa/System/Rsc/RscString.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Rsc;

TEST(HoldingTexts, TakesUpTo511CharactersAndRefusesMore)
{
    EXPECT_EQ(RscString<512>(BasicString(511, 'x')).GetView().size(), 511U);
    for (const std::size_t length : {512U, 100'000U})
    {
        EXPECT_THROW(RscString<512>(BasicString(length, 'x')), System::Commons::ArgumentException);
    }
    EXPECT_EQ(RscString<512>(BasicString("a\0b", 3)).ToString(), "a");
    const RscString<512> text("abc");
    RscString<512> copy(BasicString(400, 'x'));
    copy = text;
    EXPECT_EQ(copy, text);
    EXPECT_STREQ(copy.CStr(), "abc");
}

TEST(CopyingBoundedly, AlwaysTerminatesAndNeverReadsOn)
{
    char buffer[4] = {'?', '?', '?', '?'};
    EXPECT_EQ(SecureStrncpy(buffer, sizeof buffer, "abcdef", 6), 3U);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(SecureStrncpy(buffer, sizeof buffer, "abcdef", 1), 1U);
    EXPECT_STREQ(buffer, "a");
    const char unterminated[2] = {'a', 'b'};
    EXPECT_EQ(SecureStrnlen(unterminated, 2), 2U);
}

} // namespace
