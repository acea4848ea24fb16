#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <spdlog/sinks/base_sink.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

/// The level of a message travels as spdlog's, which has names for fewer severities than syslog but keeps the number.
[[nodiscard]] inline LogLevel GetLevel(const spdlog::details::log_msg& message) noexcept
{
    return static_cast<LogLevel>(message.level);
}

/// Where lines of the log go. A value type.
struct LogTarget
{
    /// A pattern of spdlog in which `%*` is the severity's name and `%#` its number.
    const char* pattern = "";
    /// False: the line is lost. May block without limit.
    std::function<bool(LogLevel level, std::string_view line)> write;
};

/// Standard error. A line for the journal has its priority and no time.
[[nodiscard]] LogTarget MakeConsoleTarget();

/// Throws as ThrowErrno, with path and cause, when the file cannot be opened.
[[nodiscard]] LogTarget MakeFileTarget(const BasicString& path);

/// The identity is process-wide: the last call sets it.
[[nodiscard]] LogTarget MakeSyslogTarget(const BasicString& identity);

/// Hands lines to a target on a thread of its own, which starts with the first line. So a target that blocks, such as a
/// pipe that is not read or a file on a hanging disk, delays no thread that logs: lines beyond a bound and lines that
/// the target refuses are lost, and their number is written when it takes lines again.
/// Owned by the log manager. The thread writes what is queued before it ends; the destructor does not wait for that.
class QueuedSink final : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit QueuedSink(LogTarget target);
    ~QueuedSink() override;

    /// Returns when the lines of all such sinks are written, or after `limit`. Takes no lock; also inside signal
    /// handlers.
    static void WaitUntilWritten(std::chrono::milliseconds limit) noexcept;

private:
    class Queue;

    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override;

    const std::shared_ptr<Queue> queue;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
