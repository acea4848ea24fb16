#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <map>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Where log messages go, and which.
struct LogConfiguration
{
    enum class Target : uint8
    {
        /// Standard error.
        Console,
        /// `filePath`, appended.
        File,
        /// syslog(3), which the journal collects on a machine with systemd.
        Syslog,
        /// Only sinks added with `LogManager::AddSink`.
        None
    };

    Target target = Target::Console;
    BasicString filePath;
    /// "FILE:LINE" of the element; empty when there is none.
    BasicString position;
    LogLevel level = LogLevel::Information;

    /// Levels of classes whose fully qualified name starts with a prefix; the longest prefix that fits wins.
    std::map<BasicString, LogLevel> levelsByPrefix;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
