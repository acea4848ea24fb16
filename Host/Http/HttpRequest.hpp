#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <algorithm>
#include <string_view>

namespace Oxa::Host::Http
{

enum class HttpMethod : uint8
{
    Get,
    Head,
    Post,
    Delete,
    Other
};

/// Whether the method only reads.
[[nodiscard]] constexpr bool IsRead(HttpMethod method) noexcept
{
    return method == HttpMethod::Get || method == HttpMethod::Head;
}

/// One request as it came: every text is untrusted. The views are valid until the request is answered.
struct HttpRequest
{
    HttpMethod method = HttpMethod::Other;
    /// The target without query, percent-encoding as it came; "*" for OPTIONS of the server as a whole.
    std::string_view path;
    /// What follows the "?", without it.
    std::string_view query;
    /// Of an absolute target its authority, else the header field.
    std::string_view host;
    std::string_view authorization;
    std::string_view cookie;
    std::string_view contentType;
    std::string_view origin;
    std::string_view fetchSite;
    std::string_view body;
};

// For the values of header fields.

/// Without regard to the case of ASCII letters.
[[nodiscard]] inline bool AreEqual(std::string_view left, std::string_view right) noexcept
{
    const auto toLower = [](char character) noexcept
    {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [toLower](char one, char other) { return toLower(one) == toLower(other); });
}

/// Without the spaces and tabs around it.
[[nodiscard]] inline std::string_view Trim(std::string_view text) noexcept
{
    constexpr std::string_view blanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// What comes before the separator; `text` keeps what follows it.
[[nodiscard]] inline std::string_view TakeUntil(std::string_view& text, char separator) noexcept
{
    const std::string_view taken = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(taken.size() + 1, text.size()));
    return taken;
}

} // namespace Oxa::Host::Http
