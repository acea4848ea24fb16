#include "Oxa/System/Um/Internal/ObjectPattern.hpp"

#include "Oxa/System/Commons/Types.hpp"

#include <gtest/gtest.h>

namespace Oxa::System::Um::Internal
{
namespace
{

TEST(MatchingObjectPatterns, LetsAStarStandForAnyRunAtAnyPlace)
{
    struct Case
    {
        const char* pattern;
        const char* name;
        bool matches;
    };

    const Case cases[] = {
        {"*", "", true},
        {"*", "anything/at.all", true},
        {"", "", true},
        {"", "a", false},
        {"a", "", false},
        {"oxa.services.wbm/modules/*", "oxa.services.wbm/modules/Di", true},
        {"oxa.services.wbm/modules/*", "oxa.services.wbm/modules/", true},
        {"oxa.services.wbm/modules/*", "oxa.services.wbm/modules", false},
        {"oxa.services.wbm/modules/*", "xoxa.services.wbm/modules/Di", false},
        {"oxa.services.wbm", "oxaXservices.wbm", false},
        {"*/Di", "modules/Di", true},
        {"*/Di", "modules/Dint", false},
        {"*/Di", "modules/Di/Di", true},
        {"a*b*c", "aXbYc", true},
        {"a*b*c", "abbbc", true},
        {"a*b*c", "acb", false},
        {"*ab*ab*", "xabx", false},
        {"a**", "a", true},
        {"A", "a", false},
        {"?", "a", false},
    };
    for (const auto& [pattern, name, matches] : cases)
    {
        EXPECT_EQ(MatchesObjectPattern(pattern, name), matches) << "'" << pattern << "' and '" << name << "'";
    }
}

TEST(MatchingObjectPatterns, EndsSoonForAPatternMadeToBacktrack)
{
    BasicString pattern;
    for (int count = 0; count < 250; ++count)
    {
        pattern += "*a";
    }
    EXPECT_FALSE(MatchesObjectPattern(pattern + "b", BasicString(511, 'a')));
}

} // namespace
} // namespace Oxa::System::Um::Internal
