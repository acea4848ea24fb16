#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <chrono>
#include <memory>
#include <string_view>

namespace Oxa::System::Commons
{
class AppDomain;
}

// NOLINTNEXTLINE(readability-identifier-naming): the library's names.
namespace spdlog::sinks
{
class sink;
}

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// One class's access to the log. Safe from any thread.
class OXA_EXPORT LogAdapter final
{
public:
    LogAdapter(BasicString typeName, std::shared_ptr<spdlog::sinks::sink> sink, LogLevel level);
    ~LogAdapter();

    /// Messages above this level are dropped and need not be formatted. Follows a later `LogManager::Configure`.
    [[nodiscard]] LogLevel GetLevel() const noexcept
    {
        return level.load(std::memory_order_relaxed);
    }

    void SetLevel(LogLevel newLevel) noexcept
    {
        level.store(newLevel, std::memory_order_relaxed);
    }

    void Write(LogLevel messageLevel, std::string_view message) noexcept;

private:
    const BasicString typeName;
    const std::shared_ptr<spdlog::sinks::sink> sink;
    std::atomic<LogLevel> level;
};

/// A receiver of log messages beside the configured target. Called by one thread at a time, under the log's lock: it
/// must not log.
class OXA_EXPORT ILogSink
{
public:
    virtual ~ILogSink();

    /// `typeName`: the fully qualified name of the class that logs.
    virtual void Write(LogLevel level, std::string_view typeName, std::string_view message) = 0;
};

/// The process's log. A thread of its own hands lines to the configured target: a target that blocks or fails loses
/// lines and delays no thread that logs. The number of lost lines is written when the target works again. Safe from any
/// thread.
class OXA_EXPORT LogManager final
{
public:
    LogManager() = delete;

    /// Names the application that logs: the syslog identity. The last call wins; a module library that has an
    /// application domain of its own passes the host's.
    static void AssignAppDomain(AppDomain& appDomain);
    [[nodiscard]] static BasicString GetApplicationName();

    /// Throws TemporaryException or InvalidOperationException when the log file cannot be opened; the previous
    /// configuration then stays. Adapters that exist already follow.
    static void Configure(const LogConfiguration& configuration);

    /// Kept until `RemoveSink`; in addition to the configured target.
    static void AddSink(std::shared_ptr<ILogSink> sink);
    static void RemoveSink(const std::shared_ptr<ILogSink>& sink);

    /// `typeName`: the fully qualified name of the class that logs. Never null; the same adapter for the same name,
    /// valid until the process ends.
    [[nodiscard]] static std::shared_ptr<LogAdapter> CreateLogAdapter(const BasicString& typeName);

    /// Returns when all lines so far are written, or after `limit`; called when the process exits. Takes no lock; also
    /// inside signal handlers.
    static void WaitUntilWritten(std::chrono::milliseconds limit) noexcept;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
