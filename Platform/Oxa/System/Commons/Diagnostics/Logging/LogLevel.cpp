#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"

#include <array>

namespace Oxa::System::Commons::Diagnostics::Logging
{

namespace
{

constexpr std::array<std::string_view, 8> names = {"emergency", "alert",  "critical",    "error",
                                                   "warning",   "notice", "information", "debug"};

} // namespace

std::optional<LogLevel> ParseLogLevel(std::string_view text) noexcept
{
    for (std::size_t level = 0; level < names.size(); ++level)
    {
        const char digit = static_cast<char>('0' + level);
        if (text == names[level] || text == std::string_view(&digit, 1))
        {
            return static_cast<LogLevel>(level);
        }
    }
    return std::nullopt;
}

std::string_view GetLogLevelName(LogLevel level) noexcept
{
    return names[static_cast<std::size_t>(level) % names.size()];
}

} // namespace Oxa::System::Commons::Diagnostics::Logging
