#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <map>

namespace Oxa::System::Commons::Xml
{
class XmlElementReader;
}

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

/// Reads an element "Log" of a configuration (level, target, file) and its children "Level" (prefix, level).
OXA_EXPORT void ReadLogConfiguration(Xml::XmlElementReader& element, LogConfiguration& configuration);

} // namespace Oxa::System::Commons::Diagnostics::Logging
