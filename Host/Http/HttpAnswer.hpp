#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::Host::Http
{

inline constexpr std::string_view jsonMediaType = "application/json; charset=utf-8";

/// With a 503: what is not there now may be there in a second.
inline constexpr std::string_view retryAfterField = "Retry-After: 1\r\n";

/// The head of an answer; what every answer carries is added when it is written.
struct HttpAnswer
{
    unsigned status = 200;
    /// Empty: the answer has no body.
    std::string_view mediaType;
    /// Further header fields, each ended by CR LF.
    std::string_view fields;
};

} // namespace Oxa::Host::Http
