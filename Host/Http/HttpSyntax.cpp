#include "Host/Http/HttpSyntax.hpp"

#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <system_error>
#include <vector>

namespace Oxa::Host::Http
{

namespace
{

constexpr bool IsDigit(char character) noexcept
{
    return character >= '0' && character <= '9';
}

constexpr bool IsAlphanumericOr(std::string_view others, char character) noexcept
{
    const char lower = static_cast<char>(character | 0x20);
    return IsDigit(character) || (lower >= 'a' && lower <= 'z') || others.find(character) != std::string_view::npos;
}

/// Tests every byte by a table, since most bytes of a request go through here.
template <class Predicate>
bool AreAll(std::string_view text, Predicate /*isAllowed*/) noexcept
{
    static constexpr auto table = []
    {
        std::array<bool, 256> result = {};
        for (std::size_t byte = 0; byte < result.size(); ++byte)
        {
            result[byte] = Predicate()(static_cast<char>(byte));
        }
        return result;
    }();
    return std::ranges::all_of(text, [](unsigned char each) { return table[each]; });
}

bool IsIpv6Address(std::string_view text) noexcept
{
    std::array<char, INET6_ADDRSTRLEN> terminated = {};
    in6_addr address;
    if (text.size() >= terminated.size())
    {
        return false;
    }
    text.copy(terminated.data(), text.size());
    return inet_pton(AF_INET6, terminated.data(), &address) == 1;
}

/// A name, percent-encoded where necessary, or an IPv4 address.
bool IsHostName(std::string_view text) noexcept
{
    constexpr std::string_view hexDigits = "0123456789ABCDEFabcdef";
    while (!text.empty())
    {
        const bool isEncoded = text.front() == '%';
        if (isEncoded ? text.size() < 3 || text.substr(1, 2).find_first_not_of(hexDigits) != std::string_view::npos
                      : !IsAlphanumericOr("-._~!$&'()*+,;=", text.front()))
        {
            return false;
        }
        text.remove_prefix(isEncoded ? 3 : 1);
    }
    return true;
}

} // namespace

bool AreEqual(std::string_view left, std::string_view right) noexcept
{
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
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

std::string_view FindCookie(std::string_view cookies, std::string_view name) noexcept
{
    while (!cookies.empty())
    {
        std::string_view value = TakeUntil(cookies, ';');
        if (Trim(TakeUntil(value, '=')) == name)
        {
            return Trim(value);
        }
    }
    return {};
}

bool IsToken(std::string_view text) noexcept
{
    return !text.empty() && AreAll(text, [](char each) { return IsAlphanumericOr("!#$%&'*+-.^_`|~", each); });
}

bool IsFieldValue(std::string_view text) noexcept
{
    return AreAll(text, [](unsigned char each) { return (each >= ' ' && each != 0x7F) || each == '\t'; });
}

/// More than the grammar has: browsers send some others as they are. Not "#", behind which proxies may see no target.
bool IsTarget(std::string_view text) noexcept
{
    return AreAll(text, [](unsigned char each) { return each > ' ' && each < 0x7F && each != '#'; });
}

bool IsHostAndPort(std::string_view text) noexcept
{
    std::size_t hostEnd = std::min(text.find(':'), text.size());
    if (text.starts_with('['))
    {
        const std::size_t bracket = text.find(']');
        if (bracket == std::string_view::npos || !IsIpv6Address(text.substr(1, bracket - 1)))
        {
            return false;
        }
        hostEnd = bracket + 1;
    }
    else if (!IsHostName(text.substr(0, hostEnd)))
    {
        return false;
    }
    const std::string_view rest = text.substr(hostEnd);
    return rest.empty() || (rest.front() == ':' && std::ranges::all_of(rest.substr(1), &IsDigit));
}

std::optional<uint64> TakeNumber(std::string_view& text, int base) noexcept
{
    uint64 number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error == std::errc::invalid_argument)
    {
        return std::nullopt;
    }
    text.remove_prefix(end - text.data());
    return error == std::errc() ? number : std::numeric_limits<uint64>::max();
}

bool HasRepetitions(std::string_view query, std::size_t maximum)
{
    // An encoded separator is one as well.
    const auto mostSeparators = std::ranges::count(query, '&') + std::ranges::count(query, '%');
    if (static_cast<std::size_t>(mostSeparators) < maximum)
    {
        return false;
    }
    const BasicString decoded = Services::Commons::Wbm::RequestQuery(BasicString(query)).GetQueryString(true);
    std::vector<std::string_view> parameters;
    for (std::string_view rest = decoded; !rest.empty();)
    {
        parameters.push_back(TakeUntil(rest, '&'));
    }
    std::ranges::sort(parameters);
    // Equal ones lie side by side.
    for (std::size_t index = maximum; index < parameters.size(); ++index)
    {
        if (parameters[index] == parameters[index - maximum])
        {
            return true;
        }
    }
    return false;
}

} // namespace Oxa::Host::Http
