#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/ILogAdapter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/ILogSink.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <memory>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// The process's log. Lines go to the configured target on a thread of the log's own: a target that does not take them
/// loses lines and delays none of those that log. How many it lost is written when it takes lines again. Safe from any
/// thread.
class OXA_EXPORT LogManager final
{
public:
    LogManager() = delete;

    /// Names the application that logs: the syslog identity. The last call wins; a module library that has an
    /// application domain of its own passes the host's.
    static void AssignAppDomain(AppDomain& appDomain);
    [[nodiscard]] static BasicString GetApplicationName();

    /// Throws InvalidOperationException when the log file cannot be opened; the configuration in force then stays.
    /// Adapters that exist already follow.
    static void Configure(const LogConfiguration& configuration);

    /// Kept until `RemoveSink`; in addition to the configured target.
    static void AddSink(std::shared_ptr<ILogSink> sink);
    static void RemoveSink(const std::shared_ptr<ILogSink>& sink);

    /// `typeName`: the fully qualified name of the class that logs. Never null; the same adapter for the same name, and
    /// kept until the process ends, so that a class may log to the very end.
    [[nodiscard]] static std::shared_ptr<ILogAdapter> CreateLogAdapter(const BasicString& typeName);

    /// Returns when all lines so far are written, or after `limit`; called when the process exits. Takes no lock; also
    /// inside signal handlers.
    static void WaitUntilWritten(std::chrono::milliseconds limit) noexcept;

    /// The kernel's number of the calling thread, as other tools show it.
    [[nodiscard]] static int64 GetThreadNumber() noexcept;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
