#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlElementRules.hpp"

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
    /// "FILE:LINE" of the element; empty without one.
    BasicString position;
    LogLevel level = LogLevel::Information;

    /// Levels of classes whose fully qualified name starts with a prefix; the longest matching prefix wins.
    std::map<BasicString, LogLevel> levelsByPrefix;
};

/// Adds the elements "Log" (level, target, file) and "Log/Level" (prefix, level) to a configuration document. They fill
/// `configuration`, which must outlive the rules.
OXA_EXPORT void AddLogRules(Xml::XmlElementRules& rules, LogConfiguration& configuration);

} // namespace Oxa::System::Commons::Diagnostics::Logging
