#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Commons::Json;

TEST(WritingJson, WritesEveryKindOfValue)
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("text", "a\"b\\\n</script>");
    writer.WriteValue("bytes", BasicString("\0\xFF", 2));
    writer.WriteValue("\xFF", true);
    writer.WriteValue("int8", int8{-128});
    writer.WriteValue("uint8", uint8{65});
    writer.WriteValue("uint64", std::numeric_limits<uint64>::max());
    writer.WriteSimpleArray("numbers", std::vector<uint8>{0, 255});
    writer.WriteStartObject("twice");
    writer.WriteEndObject();
    writer.WriteStartComplexArray("twice");
    EXPECT_TRUE(writer.TryWriteStartComplexArrayItem());
    writer.WriteValue("int64", std::numeric_limits<int64>::min());
    writer.WriteEndComplexArrayItem();
    EXPECT_TRUE(writer.TryWriteEndComplexArray());
    writer.WriteEndObject();
    EXPECT_EQ(writer.GetText(), "{\"text\":\"a\\\"b\\\\\\n</script>\",\"bytes\":\"\\u0000\xEF\xBF\xBD\","
                                "\"\xEF\xBF\xBD\":true,\"int8\":-128,\"uint8\":65,\"uint64\":18446744073709551615,"
                                "\"numbers\":[0,255],\"twice\":{},\"twice\":[{\"int64\":-9223372036854775808}]}");
}

TEST(WritingJson, WritesTheShortestNumberThatReadsBackAndNullForNone)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, BasicString> cases[] = {{0.1, "0.1"},
                                                    {-1, "-1"},
                                                    {-0.0, "-0"},
                                                    {1e23, "1e+23"},
                                                    {5e-324, "5e-324"},
                                                    {infinity, "null"},
                                                    {-infinity, "null"},
                                                    {std::numeric_limits<double>::quiet_NaN(), "null"},
                                                    {9007199254740993.0, "9007199254740992"},
                                                    {1.7976931348623157e308, "1.7976931348623157e+308"}};
    for (const auto& [value, text] : cases)
    {
        JsonWriter writer;
        writer.WriteStartObject();
        writer.WriteValue("x", value);
        writer.WriteEndObject();
        EXPECT_EQ(writer.GetText(), "{\"x\":" + text + "}");
        EXPECT_NO_THROW(JsonReader(BasicString(writer.GetText())));
    }
}

TEST(WritingJson, WritesSingleNumbersInTheirOwnShortestFormAndNullForNone)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("x", 0.1F);
    writer.WriteNull("none");
    writer.WriteSimpleArray("all", std::vector<float>{0.1F, -1, 16777216, 3.4028235e38F, 1e-45F, infinity, -infinity,
                                                      std::numeric_limits<float>::quiet_NaN()});
    writer.WriteSimpleArray("empty", std::vector<float>());
    writer.WriteEndObject();
    EXPECT_EQ(writer.GetText(),
              R"({"x":0.1,"none":null,"all":[0.1,-1,16777216,3.4028235e+38,1e-45,null,null,null],"empty":[]})");
    EXPECT_NO_THROW(JsonReader(BasicString(writer.GetText())));
}

TEST(WritingJson, EscapesASpecialByteAtEveryPlace)
{
    const std::pair<char, BasicString> specials[] = {{'"', "\\\""},
                                                     {'\\', "\\\\"},
                                                     {'\0', "\\u0000"},
                                                     {'\x1F', "\\u001F"},
                                                     {'\n', "\\n"},
                                                     {'\x80', "\xEF\xBF\xBD"},
                                                     {'\xFF', "\xEF\xBF\xBD"},
                                                     {'\x7F', "\x7F"},
                                                     {' ', " "},
                                                     {'!', "!"},
                                                     {'#', "#"},
                                                     {'[', "["},
                                                     {']', "]"}};
    for (std::size_t length = 1; length <= 25; ++length)
    {
        for (std::size_t place = 0; place < length; ++place)
        {
            for (const auto& [special, written] : specials)
            {
                BasicString text(length, 'x');
                text[place] = special;
                BasicString expected(length, 'x');
                expected.replace(place, 1, written);
                JsonWriter writer;
                writer.WriteStartObject();
                writer.WriteValue(text, text);
                writer.WriteEndObject();
                ASSERT_EQ(writer.GetText(), "{\"" + expected + "\":\"" + expected + "\"}") << length << ", " << place;
            }
        }
    }
}

TEST(WritingJson, PutsMembersThatWereWrittenBeforeBesideOthers)
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteMembers(R"("a":1,"b":{})");
    writer.WriteValue("c", true);
    writer.WriteMembers(R"("d":2)");
    writer.WriteMembers(R"("e":3,"f":4,"g":5)");
    writer.WriteNull("h");
    writer.WriteEndObject();
    EXPECT_EQ(writer.GetText(), R"({"a":1,"b":{},"c":true,"d":2,"e":3,"f":4,"g":5,"h":null})");
}

TEST(WritingJson, ClosesOnlyTheInnermostBracket)
{
    JsonWriter writer;
    writer.WriteStartObject();
    EXPECT_FALSE(writer.TryWriteEndComplexArray());
    EXPECT_FALSE(writer.TryWriteStartComplexArrayItem());
    EXPECT_THROW(writer.WriteEndComplexArrayItem(), InvalidOperationException);
    writer.WriteStartComplexArray("a");
    EXPECT_THROW(writer.WriteEndObject(), InvalidOperationException);
    EXPECT_TRUE(writer.TryWriteEndComplexArray());
    writer.WriteEndObject();
    EXPECT_EQ(writer.GetText(), R"({"a":[]})");
    EXPECT_THROW(writer.WriteEndObject(), InvalidOperationException);
}

TEST(ReadingJson, HandsOutTokensAndSkipsValues)
{
    JsonReader reader(R"({"skip":{"a":[1,{"b":[]}]},"name":"x\u0000y","flag":true,"none":null,"number":-1.5e3})");
    EXPECT_EQ(reader.Read(), JsonTokenType::StartObject);
    EXPECT_EQ(reader.Read(), JsonTokenType::PropertyName);
    reader.Skip();
    EXPECT_EQ(reader.Read(), JsonTokenType::PropertyName);
    EXPECT_EQ(reader.GetText(), "name");
    EXPECT_EQ(reader.Read(), JsonTokenType::String);
    EXPECT_EQ(reader.GetText(), std::string_view("x\0y", 3));
    reader.Read();
    EXPECT_EQ(reader.Read(), JsonTokenType::Boolean);
    EXPECT_TRUE(reader.GetBoolean());
    reader.Read();
    EXPECT_EQ(reader.Read(), JsonTokenType::Null);
    reader.Read();
    EXPECT_EQ(reader.Read(), JsonTokenType::Number);
    EXPECT_EQ(reader.GetText(), "-1.5e3");
    EXPECT_EQ(reader.Read(), JsonTokenType::EndObject);
    EXPECT_EQ(reader.Read(), JsonTokenType::End);
    EXPECT_EQ(reader.Read(), JsonTokenType::End);
}

TEST(ReadingJson, RefusesWhatIsNoDocumentBeforeHandingOutAnything)
{
    const BasicString cases[] = {"",
                                 "{",
                                 "{}{}",
                                 "{\"a\":1,}",
                                 "{'a':1}",
                                 "{\"a\":\"\xFF\"}",
                                 "[1 2]",
                                 "nul",
                                 BasicString("{}\0x", 4),
                                 "\"\\ud800\"",
                                 "\"\\udfaa\"",
                                 "{\"a\\uDC00\":1}",
                                 "\"\\ud83d\\ude00\\ude00\"",
                                 "[NaN]",
                                 BasicString(17, '[') + BasicString(17, ']'),
                                 "\"" + BasicString(70'000, 'x') + "\""};
    for (const BasicString& text : cases)
    {
        EXPECT_THROW(JsonReader reader(text), JsonException) << text.substr(0, 40);
    }
    const BasicString deepest = BasicString(16, '[') + BasicString(16, ']');
    EXPECT_NO_THROW(JsonReader reader(deepest));
    JsonReader pair("\"\\ud83d\\ude00\"");
    pair.Read();
    EXPECT_EQ(pair.GetText(), "\xF0\x9F\x98\x80");
}

} // namespace
