#include "Oxa/System/Um/Internal/PasswordPolicy.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/Internal/CommonPasswords.hpp"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Oxa::System::Um::Internal
{

using System::Commons::ArgumentException;
namespace Text = System::Commons::Text;

namespace
{

/// A pattern that is repeated, or what is added to a name, has to be longer.
constexpr std::size_t trivialBytes = 6;
/// Words that consist of more are no common ones.
constexpr std::size_t maximumWordBytes = 64;
/// Shorter names are a part of many words.
constexpr std::size_t minimumNameBytes = 3;

constexpr std::string_view productNames[] = {"oxa", "wbm"};

/// A text that is wiped in the end. It never grows, because that would leave a copy behind.
class SecretText final
{
public:
    /// ASCII letters become lower-case.
    explicit SecretText(std::string_view source) : text(source)
    {
        std::ranges::transform(text, text.begin(),
                               [](char each)
                               { return each >= 'A' && each <= 'Z' ? static_cast<char>(each + 32) : each; });
    }

    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;

    ~SecretText()
    {
        // Also what `Remove` left behind the end.
        text.resize(text.capacity());
        sodium_memzero(text.data(), text.size());
    }

    [[nodiscard]] std::string_view Get() const noexcept
    {
        return text;
    }

    void Remove(std::string_view part)
    {
        for (std::size_t found = text.find(part); found != BasicString::npos; found = text.find(part))
        {
            text.erase(found, part.size());
        }
    }

    template <class Predicate>
    void RemoveIf(Predicate predicate)
    {
        std::erase_if(text, predicate);
    }

    void Replace(char old, char replacement) noexcept
    {
        std::ranges::replace(text, old, replacement);
    }

private:
    BasicString text;
};

/// Bytes beyond ASCII are parts of letters.
bool IsLetter(char character) noexcept
{
    return (character >= 'a' && character <= 'z') || static_cast<unsigned char>(character) >= 0x80;
}

std::string_view TrimToLetters(std::string_view text) noexcept
{
    const auto* const begin = std::ranges::find_if(text, &IsLetter);
    const auto end = std::find_if(text.rbegin(), text.rend(), &IsLetter).base();
    return begin < end ? std::string_view(begin, end) : std::string_view();
}

/// The length of the piece that the text repeats, the last time maybe not as a whole; that of the text without one.
std::size_t FindPeriod(std::string_view text) noexcept
{
    std::size_t period = 1;
    while (period < text.size() && text.substr(period) != text.substr(0, text.size() - period))
    {
        ++period;
    }
    return period;
}

/// One common word, the same one again and again, or two of them.
bool ConsistsOfCommonWords(std::string_view text) noexcept
{
    if (text.size() > maximumWordBytes)
    {
        return false;
    }
    if (IsCommonPassword(text.substr(0, FindPeriod(text))) || IsKeySequence(text))
    {
        return true;
    }
    for (std::size_t length = minimumNameBytes; length + minimumNameBytes <= text.size(); ++length)
    {
        if (IsCommonPassword(text.substr(0, length)) && IsCommonPassword(text.substr(length)))
        {
            return true;
        }
    }
    return false;
}

/// The letters of the text, also those that digits and signs inside it stand for. `one`: the letter that a 1 stands
/// for.
bool IsDisguisedWord(std::string_view text, char one)
{
    constexpr std::pair<char, char> disguises[] = {{'0', 'o'}, {'3', 'e'}, {'4', 'a'}, {'5', 's'},
                                                   {'7', 't'}, {'@', 'a'}, {'$', 's'}, {'!', 'i'}};
    SecretText letters(text);
    letters.Replace('1', one);
    for (const auto& [sign, letter] : disguises)
    {
        letters.Replace(sign, letter);
    }
    letters.RemoveIf([](char each) { return !IsLetter(each); });
    return ConsistsOfCommonWords(letters.Get());
}

bool IsCommon(std::string_view text)
{
    // What is at the ends is more often added than a disguise of a letter.
    const std::string_view trimmed = TrimToLetters(text);
    return FindPeriod(text) <= trivialBytes || IsCommonPassword(text) || IsKeySequence(text) ||
           ConsistsOfCommonWords(trimmed) ||
           std::ranges::any_of(std::array{trimmed, text}, [](std::string_view each)
                               { return IsDisguisedWord(each, 'i') || IsDisguisedWord(each, 'l'); });
}

/// Whether it has a name in it and little else.
bool IsDerivedFromNames(std::string_view userName, std::string_view password)
{
    const SecretText user(userName);
    SecretText rest(password);
    for (const std::string_view name : {user.Get(), productNames[0], productNames[1]})
    {
        if (name.size() >= minimumNameBytes)
        {
            rest.Remove(name);
        }
    }
    const std::string_view text = rest.Get();
    return text.size() < password.size() && (text.size() <= trivialBytes || IsCommon(text));
}

std::size_t CountCharacters(std::string_view text) noexcept
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char each) { return (static_cast<unsigned char>(each) & 0xC0) != 0x80; }));
}

[[noreturn]] void Refuse(std::string_view cause)
{
    throw ArgumentException(Text::Format("The argument 'password' is not valid. {0}.", cause));
}

} // namespace

void CheckNewPassword(std::string_view userName, std::string_view password)
{
    if (!Text::IsValidUtf8(password))
    {
        Refuse("It is no UTF-8");
    }
    if (CountCharacters(password) < minimumPasswordCharacters || password.size() > maximumPasswordBytes)
    {
        Refuse(Text::Format("It must have at least {0} characters and at most {1} bytes", minimumPasswordCharacters,
                            maximumPasswordBytes));
    }
    const SecretText folded(password);
    if (IsDerivedFromNames(userName, folded.Get()))
    {
        Refuse("It is little more than the name of the user or of the product");
    }
    if (IsCommon(folded.Get()))
    {
        Refuse("It is a common password, or common words or a simple pattern with no more than digits and signs added");
    }
}

} // namespace Oxa::System::Um::Internal
