#include "Host/Http/RequestParser.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <limits>
#include <system_error>
#include <utility>

namespace Oxa::Host::Http
{

namespace
{

using CharacterSet = std::array<bool, 256>;

constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view digits = "0123456789";

constexpr CharacterSet MakeSet(std::initializer_list<std::string_view> parts)
{
    CharacterSet set = {};
    for (const std::string_view part : parts)
    {
        for (const char character : part)
        {
            set[static_cast<unsigned char>(character)] = true;
        }
    }
    return set;
}

/// Every byte but control characters and `excluded`, up to `last`.
constexpr CharacterSet MakeVisibleSet(unsigned last, std::string_view excluded, std::string_view added)
{
    CharacterSet set = MakeSet({added});
    for (unsigned character = ' '; character <= last; ++character)
    {
        set[character] = character != 0x7F && excluded.find(static_cast<char>(character)) == std::string_view::npos;
    }
    return set;
}

constexpr CharacterSet tokenCharacters = MakeSet({letters, digits, "!#$%&'*+-.^_`|~"});
constexpr CharacterSet digitCharacters = MakeSet({digits});
constexpr CharacterSet hostNameCharacters = MakeSet({letters, digits, "-._~", "!$&'()*+,;="});
/// More than the grammar has: browsers send some others as they are. Not "#", behind which proxies may see no target.
constexpr CharacterSet targetCharacters = MakeVisibleSet(0x7E, " #", "");
constexpr CharacterSet valueCharacters = MakeVisibleSet(0xFF, "", "\t");

constexpr bool IsIn(const CharacterSet& set, char character) noexcept
{
    return set[static_cast<unsigned char>(character)];
}

constexpr bool AreAllIn(const CharacterSet& set, std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [&set](char character) { return IsIn(set, character); });
}

HttpMethod ToMethod(std::string_view name) noexcept
{
    constexpr std::string_view names[] = {"GET", "HEAD", "POST", "DELETE"};
    return static_cast<HttpMethod>(std::ranges::find(names, name) - std::begin(names));
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

/// A name, percent-encoded where it has to be, or an IPv4 address.
bool IsHostName(std::string_view text) noexcept
{
    constexpr CharacterSet hexDigits = MakeSet({digits, "ABCDEFabcdef"});
    while (!text.empty())
    {
        const bool isEncoded = text.front() == '%';
        if (isEncoded ? text.size() < 3 || !AreAllIn(hexDigits, text.substr(1, 2))
                      : !IsIn(hostNameCharacters, text.front()))
        {
            return false;
        }
        text.remove_prefix(isEncoded ? 3 : 1);
    }
    return true;
}

/// Both may be empty.
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
    return rest.empty() || (rest.front() == ':' && AreAllIn(digitCharacters, rest.substr(1)));
}

} // namespace

std::optional<uint64> RequestParser::ParseChunkSize(std::string_view line) noexcept
{
    uint64 size = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), size, 16);
    const std::string_view extensions = line.substr(end - line.data());
    const bool isExtended = Trim(extensions).starts_with(';') && AreAllIn(valueCharacters, extensions);
    if (error == std::errc::invalid_argument || !(extensions.empty() || isExtended))
    {
        return std::nullopt;
    }
    return error == std::errc() ? size : std::numeric_limits<uint64>::max();
}

bool RequestParser::IsMethodCharacter(char character) noexcept
{
    return IsIn(tokenCharacters, character);
}

const Problem* RequestParser::ParseRequestLine(std::string_view line)
{
    const std::string_view method = TakeUntil(line, ' ');
    const std::string_view target = TakeUntil(line, ' ');
    header.method = ToMethod(method);
    const bool isValid =
        !method.empty() && AreAllIn(tokenCharacters, method) && TrySetVersion(line) && TrySetTarget(method, target);
    return isValid ? nullptr : &Problems::malformedRequest;
}

/// A client with a later minor version accepts responses of this one.
bool RequestParser::TrySetVersion(std::string_view version) noexcept
{
    constexpr std::string_view major = "HTTP/1.";
    if (version.size() != major.size() + 1 || !version.starts_with(major) || !IsIn(digitCharacters, version.back()))
    {
        return false;
    }
    header.isHttp10 = version.back() == '0';
    return true;
}

/// A path with or without a query, also behind "http://…", which proxies write and where the path may be missing; or
/// the server as a whole.
bool RequestParser::TrySetTarget(std::string_view method, std::string_view target) noexcept
{
    constexpr std::string_view scheme = "http://";
    if (!AreAllIn(targetCharacters, target))
    {
        return false;
    }
    if (target == "*" && method == "OPTIONS")
    {
        header.path = target;
        return true;
    }
    if (AreEqual(target.substr(0, scheme.size()), scheme))
    {
        target.remove_prefix(scheme.size());
        const std::string_view authority = target.substr(0, target.find_first_of("/?"));
        target.remove_prefix(authority.size());
        if (authority.empty() || authority.front() == ':' || !IsHostAndPort(authority))
        {
            return false;
        }
        header.authority = authority;
        header.path = "/";
    }
    const std::size_t question = std::min(target.find('?'), target.size());
    if (question > 0)
    {
        header.path = target.substr(0, question);
    }
    header.query = target.substr(std::min(question + 1, target.size()));
    return header.path.starts_with('/');
}

const Problem* RequestParser::ParseField(std::string_view line)
{
    if (const Problem* const problem = ParseTrailer(line))
    {
        return problem;
    }
    const std::string_view name = TakeUntil(line, ':');
    const std::string_view value = Trim(line);
    if (AreEqual(name, "Connection"))
    {
        AddConnectionOptions(value);
        return nullptr;
    }
    std::string_view* const known = FindKnownField(name);
    if (known == nullptr)
    {
        return nullptr;
    }
    // Two of them could be read differently by a proxy.
    if (known->data() != nullptr)
    {
        return &Problems::malformedRequest;
    }
    *known = value;
    return nullptr;
}

/// A line that begins with a blank would continue the field before it, which has been abolished: it is no field either.
const Problem* RequestParser::ParseTrailer(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == 0 || colon == std::string_view::npos || !AreAllIn(tokenCharacters, line.substr(0, colon)) ||
        !AreAllIn(valueCharacters, line.substr(colon + 1)))
    {
        return &Problems::malformedRequest;
    }
    return ++fieldCount > maximumFields ? &Problems::headerTooLarge : nullptr;
}

std::string_view* RequestParser::FindKnownField(std::string_view name) noexcept
{
    constexpr std::pair<std::string_view, std::string_view Header::*> knownFields[] = {
        {"Host", &Header::host},
        {"Authorization", &Header::authorization},
        {"Cookie", &Header::cookie},
        {"Content-Type", &Header::contentType},
        {"Origin", &Header::origin},
        {"Sec-Fetch-Site", &Header::fetchSite},
        {"Content-Length", &Header::contentLength},
        {"Transfer-Encoding", &Header::transferEncoding},
        {"Expect", &Header::expectation}};
    for (const auto& [known, member] : knownFields)
    {
        if (AreEqual(known, name))
        {
            return &(header.*member);
        }
    }
    return nullptr;
}

void RequestParser::AddConnectionOptions(std::string_view options) noexcept
{
    while (!options.empty())
    {
        const std::string_view option = Trim(TakeUntil(options, ','));
        hasClose = hasClose || AreEqual(option, "close");
        hasKeepAlive = hasKeepAlive || AreEqual(option, "keep-alive");
    }
}

const Problem* RequestParser::EndHeader()
{
    const bool hasHost = header.host.data() != nullptr;
    if (!(hasHost ? IsHostAndPort(header.host) : header.isHttp10) || !TrySetFraming())
    {
        return &Problems::malformedRequest;
    }
    if (header.authority.data() != nullptr)
    {
        header.host = header.authority;
    }
    header.keepsConnection = !hasClose && (!header.isHttp10 || hasKeepAlive);
    if (bodyBytes > maximumBodyBytes)
    {
        return &Problems::bodyTooLarge;
    }
    // Clients of HTTP/1.0 do not wait.
    if (!header.expectation.empty() && !header.isHttp10)
    {
        header.expectsContinue = AreEqual(header.expectation, "100-continue");
        return header.expectsContinue ? nullptr : &Problems::unknownExpectation;
    }
    return nullptr;
}

/// The end of the body must not be ambiguous: the body has one length, or one known coding. HTTP/1.0 has no codings.
bool RequestParser::TrySetFraming() noexcept
{
    const std::string_view length = header.contentLength;
    if (IsChunked())
    {
        return !header.isHttp10 && length.data() == nullptr && AreEqual(header.transferEncoding, "chunked");
    }
    if (length.data() == nullptr)
    {
        return true;
    }
    const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), bodyBytes);
    if (error == std::errc::result_out_of_range)
    {
        bodyBytes = std::numeric_limits<std::size_t>::max();
    }
    return end == length.data() + length.size() && error != std::errc::invalid_argument;
}

} // namespace Oxa::Host::Http
