#include "Oxa/System/Um/Internal/PasswordPolicy.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <gmock/gmock.h>

#include <string>
#include <tuple>

namespace Oxa::System::Um::Internal
{
namespace
{

using testing::HasSubstr;

/// Empty when the password is accepted.
BasicString GetRefusal(std::string_view userName, std::string_view password)
{
    try
    {
        CheckNewPassword(userName, password);
    }
    catch (const System::Commons::ArgumentException& exception)
    {
        EXPECT_EQ(exception.GetMessage().find(password), password.empty() ? 0 : BasicString::npos) << password;
        return exception.GetMessage();
    }
    return {};
}

TEST(NewPasswords, AreRefusedWhenTooShortTooLongOrEasilyGuessed)
{
    const std::tuple<const char*, BasicString, const char*> cases[] = {
        {"anna", "kx7-Rq2.vT9", "at least 12 characters"},
        {"anna", "\u00E4\u00F6\u00FC\u00E4\u00F6\u00FC", "at least 12 characters"},
        {"anna", "kx7-Rq2.vT9m" + BasicString(1013, 'p'), "at most 1024 bytes"},
        {"anna", "kx7-Rq2.vT9m\xFF", "no UTF-8"},
        {"anna", "passwordpassword", "a common password"},
        {"anna", "Password1234", "a common password"},
        {"anna", "P@$$w0rd2026!!", "a common password"},
        {"anna", "We1come-We1come", "a common password"},
        {"anna", "!!!Welcome!!!", "a common password"},
        {"anna", "CHANGEME-2026", "a common password"},
        {"anna", "4dm1n1str4t0r", "a common password"},
        {"anna", "admin password 1", "a common password"},
        {"anna", "correct horse battery staple", "a common password"},
        {"anna", "aaaaaaaaaaaaaaaaaaa", "a common password"},
        {"anna", "k7Qz!mk7Qz!mk7", "a common password"},
        {"anna", "123456789012", "a common password"},
        {"anna", "0987654321098", "a common password"},
        {"anna", "abcdefghijkl", "a common password"},
        {"anna", "qwertzuiopas", "a common password"},
        {"anna", "1qaz2wsx3edc", "a common password"},
        {"anna", "112233445566", "a common password"},
        {"administration", "Administration", "the name of the user"},
        {"anna.schmidt", "Anna.Schmidt!2026", "the name of the user"},
        {"anna", "annaannaanna", "the name of the user"},
        {"anna", "anna-password", "the name of the user"},
        {"anna", "oxa-wbm-2026", "the name of the user or of the product"},
        {"anna", "Oxa-Wbm-Admin", "the name of the user or of the product"},
    };
    for (const auto& [userName, password, cause] : cases)
    {
        EXPECT_THAT(GetRefusal(userName, password), HasSubstr(cause)) << password;
    }
}

TEST(NewPasswords, AreAcceptedWithoutRulesOfComposition)
{
    const std::pair<const char*, BasicString> cases[] = {
        {"anna", "kx7-Rq2.vT9m"},
        {"anna", "lowercaseonlyhere"},
        {"anna", "748201936527"},
        {"anna", "ways of the river bank"},
        {"anna", "bananaandsomeplumjam"},
        {"anna", "\u00E4\u00F6\u00FC\u00DF\u00E9\u00E8\u00EA\u00E0\u00E2\u00F4\u00EE\u00FB"},
        {"anna", "            "
                 "kx7-Rq2"},
        {"anna", BasicString("nul\0is a character", 18)},
        {"a", "anaconda takes a walk"},
        {"anna", "kx7-Rq2.vT9m" + BasicString(1012, 'p')},
        {"admin", "abcdef-ghjkmn-pqrstu-vwxyz2"},
    };
    for (const auto& [userName, password] : cases)
    {
        EXPECT_EQ(GetRefusal(userName, password), "") << password;
    }
}

} // namespace
} // namespace Oxa::System::Um::Internal
