#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"

#include <spdlog/pattern_formatter.h>

#include <memory>

/// The spdlog library knows fewer severities than syslog. The true one travels with a message in the place of its
/// source line.
namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

[[nodiscard]] spdlog::source_loc ToSourceLocation(LogLevel level) noexcept;
[[nodiscard]] LogLevel GetLevel(const spdlog::details::log_msg& message) noexcept;

/// Formats messages by a pattern of spdlog, in which `%*` is the severity's name and `%#` its number.
[[nodiscard]] std::unique_ptr<spdlog::formatter> MakeFormatter(const char* pattern);

/// Writes the severity where a pattern asks for it.
class SeverityFlag final : public spdlog::custom_flag_formatter
{
public:
    explicit SeverityFlag(bool isNumber) noexcept : isNumber(isNumber) {}

    void format(const spdlog::details::log_msg& message, const std::tm& time, spdlog::memory_buf_t& target) override;
    [[nodiscard]] std::unique_ptr<spdlog::custom_flag_formatter> clone() const override;

private:
    const bool isNumber;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
