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

void SeverityFlag::format(const spdlog::details::log_msg& message, const std::tm& /*time*/,
                          spdlog::memory_buf_t& target)
{
    const std::string_view name = GetLogLevelName(GetLevel(message));
    target.append(name.data(), name.data() + name.size());
}

std::unique_ptr<spdlog::custom_flag_formatter> SeverityFlag::clone() const
{
    return std::make_unique<SeverityFlag>();
}

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
