#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::Host::Http
{

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
