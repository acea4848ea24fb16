#include "Oxa/System/Commons/Text.hpp"

#include <cxxabi.h>
#include <rapidjson/encodings.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace Oxa::System::Commons::Text
{

namespace
{

/// A RapidJSON input stream over a view that reads as NUL behind its end.
class ViewStream final
{
public:
    using Ch = char;

    explicit ViewStream(std::string_view text) : text(text) {}

    Ch Take()
    {
        return position < text.size() ? text[position++] : '\0';
    }

    [[nodiscard]] std::size_t Tell() const
    {
        return position;
    }

private:
    std::string_view text;
    std::size_t position = 0;
};

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

/// The length of the well-formed sequence at the start of `text`, 0 when there is none. Requires: not empty.
std::size_t MeasureSequence(std::string_view text) noexcept
{
    ViewStream stream(text);
    unsigned codePoint = 0;
    const bool isValid = rapidjson::UTF8<>::Decode(stream, &codePoint);
    return isValid && stream.Tell() <= text.size() ? stream.Tell() : 0;
}

} // namespace

bool IsValidUtf8(std::string_view text) noexcept
{
    for (text.remove_prefix(CountLeadingAscii(text)); !text.empty(); text.remove_prefix(CountLeadingAscii(text)))
    {
        const std::size_t length = MeasureSequence(text);
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
            length = MeasureSequence(text);
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

BasicString EscapeControlCharacters(std::string_view text)
{
    BasicString result;
    result.reserve(text.size());
    unsigned char previous = 0;
    for (const char character : text)
    {
        const auto byte = static_cast<unsigned char>(character);
        // The second half of U+0080 to U+009F: line breaks and escape sequences to some terminals.
        const bool isSecondHalf = previous == 0xC2 && byte >= 0x80 && byte < 0xA0;
        previous = byte;
        if (byte >= 0x20 && byte != 0x7F && !isSecondHalf)
        {
            result += character;
            continue;
        }
        if (isSecondHalf)
        {
            result.pop_back();
        }
        fmt::format_to(std::back_inserter(result), "\\x{:02x}", byte);
    }
    return IsValidUtf8(result) ? result : ReplaceInvalidUtf8(result);
}

std::string_view Truncate(std::string_view text, std::size_t maximumBytes) noexcept
{
    if (text.size() <= maximumBytes)
    {
        return text;
    }
    // A character has at most three continuation bytes; more of them are no UTF-8 and may be cut anywhere.
    std::size_t end = maximumBytes;
    for (int step = 0; step < 3 && end > 0 && IsContinuation(text[end]); ++step)
    {
        --end;
    }
    return text.substr(0, IsContinuation(text[end]) ? maximumBytes : end);
}

BasicString GetTypeName(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                           &std::free);
    return name ? BasicString(name.get()) : BasicString(type.name());
}

} // namespace Oxa::System::Commons::Text
