#include "Oxa/System/Commons/Text.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Commons;

TEST(MendingText, ReplacesEveryByteThatIsNoUtf8)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"plain text, longer than one word", "plain text, longer than one word"},
        {"Gr\xC3\xB6\xC3\x9F"
         "e",
         "Gr\xC3\xB6\xC3\x9F"
         "e"},
        {"\xFF", "\xEF\xBF\xBD"},
        {"1234567\x80"
         "9",
         "1234567\xEF\xBF\xBD"
         "9"},
        {"\xC3", "\xEF\xBF\xBD"},
        {"a\xE2\x82", "a\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
    };
    for (const auto& [text, mended] : cases)
    {
        EXPECT_EQ(Text::ReplaceInvalidUtf8(text), mended) << testing::PrintToString(text);
        EXPECT_EQ(Text::IsValidUtf8(text), text == mended) << testing::PrintToString(text);
        EXPECT_TRUE(Text::IsValidUtf8(mended));
    }
}

TEST(MendingText, KeepsNulAndEscapesItForTheLog)
{
    const BasicString text("a\0b\r\n\x1B[2J\x7F", 10);
    EXPECT_EQ(Text::ReplaceInvalidUtf8(text), text);
    EXPECT_EQ(Text::EscapeControlCharacters(text), "a\\x00b\\x0d\\x0a\\x1b[2J\\x7f");
}

TEST(TruncatingText, NeverSplitsACharacter)
{
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"abcd", "abcd"},           // fits
        {"abcde", "abcd"},          // one byte too many
        {"abc\xC3\xA9", "abc"},     // the last character has two bytes
        {"ab\xE2\x82\xAC", "ab"},   // three
        {"a\xF0\x9F\x98\x80", "a"}, // four
        {"ab\xC3\xA9z", "ab\xC3\xA9"},
        {"\x80\x80\x80\x80\x80\x80", "\x80\x80\x80\x80"}, // no UTF-8 at all
    };
    for (const auto& [text, truncated] : cases)
    {
        EXPECT_EQ(Text::Truncate(text, 4), truncated) << testing::PrintToString(text);
    }
}

} // namespace
