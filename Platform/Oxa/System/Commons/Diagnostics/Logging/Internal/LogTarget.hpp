#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <string_view>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

/// Where lines of the log go. A value type.
struct LogTarget
{
    /// What spdlog's formatter makes of a message, with the flags of `MakeFormatter`.
    const char* pattern = "";
    /// False: the line is lost. Takes as long as the target does, which may be for ever.
    std::function<bool(LogLevel level, std::string_view line)> write;
};

/// Standard error. A line for the journal has its priority and no time.
[[nodiscard]] LogTarget MakeConsoleTarget();

/// Throws InvalidOperationException, with path and cause, when the file cannot be opened.
[[nodiscard]] LogTarget MakeFileTarget(const BasicString& path);

/// The identity is the process's: the last target that was made names it.
[[nodiscard]] LogTarget MakeSyslogTarget(const BasicString& identity);

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
