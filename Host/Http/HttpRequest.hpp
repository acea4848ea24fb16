#pragma once

#include "Oxa/System/Commons/Types.hpp"

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
    /// The target without query, percent-encoding as it came.
    std::string_view path;
    /// What follows the "?", without it.
    std::string_view query;
    std::string_view host;
    std::string_view authorization;
    std::string_view cookie;
    std::string_view contentType;
    std::string_view origin;
    std::string_view fetchSite;
    std::string_view body;
};

} // namespace Oxa::Host::Http
