#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Internal/LogTarget.hpp"

#include <spdlog/sinks/base_sink.h>

#include <chrono>
#include <memory>
#include <mutex>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

/// Hands lines to a target on a thread of its own, from the first line on. So a target that does not take them, such as
/// a pipe that is not read, a file on a disk that hangs or a full one, delays none of those that log: lines over a
/// bound and lines that the target refuses are lost, and their number is written when it takes lines again.
/// Owned by the log manager. The thread writes what is queued before it ends, which nothing waits for.
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
