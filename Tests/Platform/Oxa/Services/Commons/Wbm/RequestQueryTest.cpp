#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using Oxa::Services::Commons::Wbm::RequestQuery;

TEST(ReadingQueries, DecodesWhatIsEncodedAndLeavesTheRest)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"A%26B", "A&B"},           {"%41%4a%4A", "AJJ"},          {"a+b", "a+b"}, {"%", "%"}, {"%4", "%4"},
        {"%zz%+1%-1", "%zz%+1%-1"}, {"%00", BasicString(1, '\0')}, {"", ""}};
    for (const auto& [text, decoded] : cases)
    {
        EXPECT_EQ(RequestQuery(text).GetQueryString(true), decoded) << text;
        EXPECT_EQ(RequestQuery(text).GetQueryString(false), text);
    }
}

TEST(ReadingQueries, FindsTheFirstParameterOfAName)
{
    const RequestQuery query("&a=1&a=2&&%62=%26=&c&=x");
    BasicString value = "before";
    EXPECT_TRUE(query.TryGetParameterValue("a", value, false));
    EXPECT_EQ(value, "1");
    EXPECT_TRUE(query.TryGetParameterValue("b", value, false));
    EXPECT_EQ(value, "&=");
    EXPECT_FALSE(query.TryGetParameterValue("A", value, false));
    EXPECT_EQ(value, "&=");
    EXPECT_TRUE(query.TryGetParameterValue("C", value, true));
    EXPECT_EQ(value, "");
}

} // namespace
