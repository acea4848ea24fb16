#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Export.hpp"

#include <string_view>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// A receiver of log messages beside the configured ones. Called by one thread at a time, under the log's lock: it must
/// not log.
class OXA_EXPORT ILogSink
{
public:
    virtual ~ILogSink();

    /// `typeName`: the fully qualified name of the class that logs.
    virtual void Write(LogLevel level, std::string_view typeName, std::string_view message) = 0;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
