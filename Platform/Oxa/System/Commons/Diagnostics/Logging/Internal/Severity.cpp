#include "Oxa/System/Commons/Diagnostics/Logging/Internal/Severity.hpp"

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

namespace
{

// A source line of 0 means "none" to spdlog.
constexpr int firstLine = 1;

} // namespace

spdlog::source_loc ToSourceLocation(LogLevel level) noexcept
{
    return {"", static_cast<int>(level) + firstLine, ""};
}

LogLevel GetLevel(const spdlog::details::log_msg& message) noexcept
{
    return static_cast<LogLevel>(message.source.line - firstLine);
}

std::unique_ptr<spdlog::formatter> MakeFormatter(const char* pattern)
{
    auto formatter = std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::local, "");
    formatter->add_flag<SeverityFlag>('*', false).add_flag<SeverityFlag>('#', true).set_pattern(pattern);
    return formatter;
}

void SeverityFlag::format(const spdlog::details::log_msg& message, const std::tm& /*time*/,
                          spdlog::memory_buf_t& target)
{
    const LogLevel level = GetLevel(message);
    const std::string_view name = GetLogLevelName(level);
    if (isNumber)
    {
        target.push_back(static_cast<char>('0' + static_cast<int>(level)));
        return;
    }
    target.append(name.data(), name.data() + name.size());
}

std::unique_ptr<spdlog::custom_flag_formatter> SeverityFlag::clone() const
{
    return std::make_unique<SeverityFlag>(isNumber);
}

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
