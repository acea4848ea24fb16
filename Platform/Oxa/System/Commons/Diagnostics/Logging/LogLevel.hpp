#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <optional>
#include <string_view>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// The syslog severities (RFC 5424, 6.2.1): the lower the number, the graver the message.
enum class LogLevel : uint8
{
    Emergency = 0,
    Alert = 1,
    Critical = 2,
    Error = 3,
    Warning = 4,
    Notice = 5,
    Information = 6,
    Debug = 7
};

/// From a name in lower case ("error", "warning", …) or a digit from 0 to 7.
[[nodiscard]] OXA_EXPORT std::optional<LogLevel> ParseLogLevel(std::string_view text) noexcept;

/// The name in lower case that `ParseLogLevel` takes.
[[nodiscard]] OXA_EXPORT std::string_view GetLogLevelName(LogLevel level) noexcept;

} // namespace Oxa::System::Commons::Diagnostics::Logging
