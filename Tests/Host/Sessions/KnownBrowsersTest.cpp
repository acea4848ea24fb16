#include "Host/Sessions/KnownBrowsers.hpp"

#include <gtest/gtest.h>
#include <sodium.h>

namespace Oxa::Host::Sessions
{

namespace
{

TEST(KnownBrowserCookies, BelongToOneUserAndOneKey)
{
    ASSERT_GE(sodium_init(), 0);
    const KnownBrowsers browsers({1, 2, 3});
    const BasicString cookie = browsers.MakeCookie("Ann");
    EXPECT_EQ(cookie.size(), 64U);
    EXPECT_EQ(browsers.FindNumber(cookie, "ann").size(), 16U);
    EXPECT_EQ(browsers.FindNumber(cookie, "Ann"), KnownBrowsers({1, 2, 3}).FindNumber(cookie, "ANN"));
    EXPECT_NE(browsers.FindNumber(cookie, "ann"), browsers.FindNumber(browsers.MakeCookie("ann"), "ann"));
    EXPECT_EQ(browsers.FindNumber(cookie, "bob"), "");
    EXPECT_EQ(KnownBrowsers({1, 2, 4}).FindNumber(cookie, "ann"), "");
    for (std::size_t index = 0; index < cookie.size(); ++index)
    {
        BasicString changed = cookie;
        changed[index] = changed[index] == 'A' ? 'B' : 'A';
        EXPECT_EQ(browsers.FindNumber(changed, "ann"), "") << index;
    }
    for (const BasicString& wrong :
         {BasicString(), cookie.substr(1), cookie + "A", cookie + "AAAA", cookie.substr(0, 22), BasicString(64, '*')})
    {
        EXPECT_EQ(browsers.FindNumber(wrong, "ann"), "") << wrong;
    }
}

} // namespace

} // namespace Oxa::Host::Sessions
