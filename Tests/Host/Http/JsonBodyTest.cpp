#include "Host/Http/JsonBody.hpp"

#include <gtest/gtest.h>

namespace Oxa::Host::Http
{

namespace
{

constexpr auto text = JsonBody::TokenType::String;
constexpr auto number = JsonBody::TokenType::Number;
constexpr auto boolean = JsonBody::TokenType::Boolean;

TEST(JsonBodies, GiveTheMembersThatAreAllowed)
{
    const JsonBody body(R"( {"name":"\u00fc","days":30,"disabled":true} )",
                        {{"name", text}, {"days", number, false}, {"disabled", boolean}, {"role", text, false}});
    EXPECT_EQ(body.GetFault(), "");
    EXPECT_EQ(body.GetText("name"), "\u00fc");
    EXPECT_EQ(body.FindText("days"), "30");
    EXPECT_EQ(body.FindBoolean("disabled"), true);
    EXPECT_EQ(body.FindText("role"), std::nullopt);
    EXPECT_EQ(body.FindBoolean("role"), std::nullopt);
}

TEST(JsonBodies, TellWhatIsWrong)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "The JSON document is not valid at offset 0: The document is empty."},
        {"[]", "The JSON document is not an object"},
        {"\"name\"", "The JSON document is not an object"},
        {"{}", "The member 'name' is missing"},
        {R"({"name":"a"} {})",
         "The JSON document is not valid at offset 13: The document root must not be followed by other values."},
        {R"({"name":1})", "The member 'name' must be a string"},
        {R"({"name":null})", "The member 'name' must be a string"},
        {R"({"name":{"name":"a"}})", "The member 'name' must be a string"},
        {R"({"name":"a","days":"1"})", "The member 'days' must be a number"},
        {R"({"name":"a","on":0})", "The member 'on' must be true or false"},
        {R"({"name":"a","name":"b"})", "The member 'name' is there twice"},
        {R"({"name":"a","Name":"b"})", "The member 'Name' is unknown"},
        {R"({"":"a"})", "The member '' is unknown"}};
    for (const auto& [body, fault] : cases)
    {
        EXPECT_EQ(JsonBody(body, {{"name", text}, {"days", number, false}, {"on", boolean, false}}).GetFault(), fault)
            << body;
    }
    const BasicString longName = "{\"" + BasicString(1000, 'x') + "\":1}";
    EXPECT_EQ(JsonBody(longName, {}).GetFault(), "The member '" + BasicString(64, 'x') + "' is unknown");
}

} // namespace

} // namespace Oxa::Host::Http
