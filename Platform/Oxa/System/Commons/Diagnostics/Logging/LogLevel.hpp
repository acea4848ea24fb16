#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// The syslog severities (RFC 5424, 6.2.1): the lower the number, the more severe the message.
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

inline constexpr std::array<std::string_view, 8> logLevelNames = {"emergency", "alert",  "critical",    "error",
                                                                  "warning",   "notice", "information", "debug"};

[[nodiscard]] constexpr std::string_view GetLogLevelName(LogLevel level) noexcept
{
    return logLevelNames.at(static_cast<std::size_t>(level));
}

/// From a name in lower case ("error", "warning", …) or a digit from 0 to 7.
[[nodiscard]] constexpr std::optional<LogLevel> ParseLogLevel(std::string_view text) noexcept
{
    if (text.size() == 1 && text[0] >= '0' && text[0] <= '7')
    {
        return static_cast<LogLevel>(text[0] - '0');
    }
    const auto* const found = std::ranges::find(logLevelNames, text);
    return found != logLevelNames.end() ? std::optional(static_cast<LogLevel>(found - logLevelNames.begin()))
                                        : std::nullopt;
}

} // namespace Oxa::System::Commons::Diagnostics::Logging
