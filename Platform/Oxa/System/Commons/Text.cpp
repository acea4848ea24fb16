#include "Oxa/System/Commons/Text.hpp"

#include <boost/core/demangle.hpp>
#include <boost/locale/utf.hpp>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <cwctype>
#include <iterator>
#include <utility>

namespace Oxa::System::Commons::Text
{

namespace
{

using Utf8 = boost::locale::utf::utf_traits<char>;

std::size_t CountLeadingAscii(std::string_view text) noexcept
{
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    std::size_t position = 0;
    for (; position + sizeof(std::uint64_t) <= text.size(); position += sizeof(std::uint64_t))
    {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + position, sizeof word);
        if ((word & highBits) != 0)
        {
            break;
        }
    }
    while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80)
    {
        ++position;
    }
    return position;
}

bool IsContinuation(char byte) noexcept
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

struct Sequence
{
    unsigned codePoint = 0;
    /// 0: the text does not begin with a well-formed sequence.
    std::size_t length = 0;
};

/// Requires: not empty.
Sequence DecodeSequence(std::string_view text) noexcept
{
    const char* position = text.data();
    const auto codePoint = Utf8::decode(position, text.data() + text.size());
    const bool isValid = codePoint != boost::locale::utf::illegal && codePoint != boost::locale::utf::incomplete;
    return isValid ? Sequence{codePoint, static_cast<std::size_t>(position - text.data())} : Sequence{};
}

/// Control characters, and invisible characters that change how others are shown: line separators, characters that
/// control the direction, and those of no width.
bool IsHidden(unsigned codePoint) noexcept
{
    constexpr std::pair<unsigned, unsigned> ranges[] = {
        {0x00, 0x1F},     {0x7F, 0x9F},     {0xAD, 0xAD},     {0x61C, 0x61C},   {0x200B, 0x200F},
        {0x2028, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [codePoint](const auto& range)
                       { return codePoint >= range.first && codePoint <= range.second; });
}

} // namespace

bool IsValidUtf8(std::string_view text) noexcept
{
    for (text.remove_prefix(CountLeadingAscii(text)); !text.empty(); text.remove_prefix(CountLeadingAscii(text)))
    {
        const std::size_t length = DecodeSequence(text).length;
        if (length == 0)
        {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

BasicString ReplaceInvalidUtf8(std::string_view text)
{
    BasicString result;
    result.reserve(text.size());
    while (!text.empty())
    {
        std::size_t length = CountLeadingAscii(text);
        if (length == 0)
        {
            length = DecodeSequence(text).length;
        }
        if (length == 0)
        {
            result += "\xEF\xBF\xBD";
            text.remove_prefix(1);
            continue;
        }
        result += text.substr(0, length);
        text.remove_prefix(length);
    }
    return result;
}

bool IsPlain(std::string_view text) noexcept
{
    while (!text.empty())
    {
        const Sequence sequence = DecodeSequence(text);
        if (sequence.length == 0 || IsHidden(sequence.codePoint))
        {
            return false;
        }
        text.remove_prefix(sequence.length);
    }
    return true;
}

BasicString EscapeControlCharacters(std::string_view text)
{
    BasicString result;
    result.reserve(text.size());
    while (!text.empty())
    {
        const Sequence sequence = DecodeSequence(text);
        const std::size_t length = std::max<std::size_t>(sequence.length, 1);
        if (length == 1 && (sequence.length == 0 || IsHidden(sequence.codePoint)))
        {
            fmt::format_to(std::back_inserter(result), "\\x{:02x}", static_cast<unsigned char>(text.front()));
        }
        else if (IsHidden(sequence.codePoint))
        {
            fmt::format_to(std::back_inserter(result), "\\u{:04x}", sequence.codePoint);
        }
        else
        {
            result += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return result;
}

BasicString FoldCase(std::string_view text)
{
    // Built into the C library. Never freed.
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    BasicString result;
    result.reserve(text.size());
    while (!text.empty())
    {
        const Sequence sequence = DecodeSequence(text);
        if (sequence.length == 0 || locale == nullptr)
        {
            result += text.front();
            text.remove_prefix(1);
        }
        else
        {
            // First to upper case: a letter may have several lower-case forms.
            Utf8::encode(towlower_l(towupper_l(sequence.codePoint, locale), locale), std::back_inserter(result));
            text.remove_prefix(sequence.length);
        }
    }
    return result;
}

std::string_view Truncate(std::string_view text, std::size_t maximumBytes) noexcept
{
    if (text.size() <= maximumBytes)
    {
        return text;
    }
    // A character has at most three continuation bytes; longer sequences are no UTF-8 and may be cut anywhere.
    std::size_t end = maximumBytes;
    for (int step = 0; step < 3 && end > 0 && IsContinuation(text[end]); ++step)
    {
        --end;
    }
    return text.substr(0, IsContinuation(text[end]) ? maximumBytes : end);
}

BasicString GetTypeName(const std::type_info& type)
{
    return boost::core::demangle(type.name());
}

} // namespace Oxa::System::Commons::Text
