#include "Host/Http/HttpExchange.hpp"

#include <algorithm>

namespace Oxa::Host::Http
{

namespace
{

char ToLower(char character) noexcept
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

} // namespace

IHttpExchange::~IHttpExchange() = default;

bool AreEqual(std::string_view left, std::string_view right) noexcept
{
    return std::ranges::equal(left, right, {}, &ToLower, &ToLower);
}

std::string_view Trim(std::string_view text) noexcept
{
    constexpr std::string_view blanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string_view TakeUntil(std::string_view& text, char separator) noexcept
{
    const std::string_view taken = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(taken.size() + 1, text.size()));
    return taken;
}

} // namespace Oxa::Host::Http
