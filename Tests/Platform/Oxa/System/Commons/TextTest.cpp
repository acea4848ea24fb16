#include "Oxa/System/Commons/Text.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

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

TEST(EscapingText, ShowsWhatAReaderOfTheLogWouldNotSee)
{
    const std::pair<std::string_view, std::string_view> cases[] = {
        {{"a\0b\r\n\x1B[2J\x7F", 10}, R"(a\x00b\x0d\x0a\x1b[2J\x7f)"},
        {"\xC2\x85\xC2\x9B|\xC2\xA0", "\\u0085\\u009b|\xC2\xA0"}, // C1, and a space that is none of them
        {"\xE2\x80\xAE"
         "nimda\xE2\x81\xA6\xD8\x9C",
         R"(\u202enimda\u2066\u061c)"}, // direction
        {"a\xE2\x80\xA8"
         "b\xE2\x80\x8B\xEF\xBB\xBF",
         R"(a\u2028b\u200b\ufeff)"}, // line, no width
        {"\xF3\xA0\x81\x81", R"(\ue0041)"},
        {"\xFF|\xC3|\xE2\x82", R"(\xff|\xc3|\xe2\x82)"}, // no UTF-8
        {"Zo\xC3\xAB \xF0\x9F\x98\x80 \\", "Zo\xC3\xAB \xF0\x9F\x98\x80 \\"},
    };
    for (const auto& [text, escaped] : cases)
    {
        EXPECT_EQ(Text::EscapeControlCharacters(text), escaped) << testing::PrintToString(text);
        EXPECT_EQ(Text::IsPlain(text), text == escaped) << testing::PrintToString(text);
    }
}

TEST(FoldingCase, MakesTextsEqualThatDifferOnlyInCase)
{
    const std::vector<BasicString> cases[] = {{"Admin", "ADMIN", "admin"},
                                              {"J\xC3\x9CRGEN", "j\xC3\xBCrgen"},
                                              {"\xCE\xA3", "\xCF\x83", "\xCF\x82"},
                                              {"\xFF\xC3", "\xFF\xC3"}};
    for (const auto& texts : cases)
    {
        for (const BasicString& text : texts)
        {
            EXPECT_EQ(Text::FoldCase(text), Text::FoldCase(texts.front())) << text;
        }
    }
    EXPECT_NE(Text::FoldCase("admin"), Text::FoldCase("admin2"));
    EXPECT_NE(Text::FoldCase("u"), Text::FoldCase("\xC3\xBC"));
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
