#include "Oxa/System/Commons/Diagnostics/Logging/Internal/QueuedSink.hpp"

#include "Oxa/System/Commons/Diagnostics/Logging/Internal/Severity.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <poll.h>

#include <atomic>
#include <csignal>
#include <cstddef>
#include <exception>
#include <thread>
#include <utility>
#include <vector>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

namespace
{

/// What a process logs in a few seconds when much goes wrong.
constexpr std::size_t maximumQueuedBytes = std::size_t{128} * 1024;

/// Of all sinks; those in a batch that is being written count until the batch is through.
std::atomic<std::size_t> unwrittenLines = 0;

/// Keeps signals away from threads that begin meanwhile: they are for the threads that wait for them.
class BlockedSignals final
{
public:
    BlockedSignals() noexcept
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &previous);
    }

    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

    ~BlockedSignals()
    {
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    }

private:
    sigset_t previous;
};

} // namespace

// The sink and its thread share the queue, so that a sink that goes need not wait for a thread that hangs in the
// target. The mutex is held only for moves of lines, never for a call of the target.
class QueuedSink::Queue final : public std::enable_shared_from_this<Queue>
{
public:
    explicit Queue(LogTarget newTarget) : target(std::move(newTarget)), formatter(MakeFormatter(target.pattern)) {}

    void Add(LogLevel level, std::string_view text)
    {
        const MutexLock lock(mutex);
        if (bytes + text.size() > maximumQueuedBytes || !EnsureThread())
        {
            ++lost;
            return;
        }
        lines.push_back({level, BasicString(text)});
        bytes += text.size();
        ++unwrittenLines;
        changed.NotifyOne();
    }

    void End() noexcept
    {
        const MutexLock lock(mutex);
        isEnding = true;
        changed.NotifyOne();
    }

    [[nodiscard]] const char* GetPattern() const noexcept
    {
        return target.pattern;
    }

private:
    struct Line
    {
        LogLevel level;
        BasicString text;
    };

    [[nodiscard]] bool EnsureThread() noexcept OXA_REQUIRES(mutex)
    {
        try
        {
            if (!hasThread)
            {
                const BlockedSignals blocked;
                std::thread([self = shared_from_this()] { self->Run(); }).detach();
                hasThread = true;
            }
        }
        catch (const std::exception&)
        {
            // The next line tries again.
        }
        return hasThread;
    }

    void Run() noexcept
    {
        MutexLock lock(mutex);
        while (true)
        {
            while (!isEnding && lines.empty())
            {
                changed.Wait(mutex);
            }
            if (lines.empty())
            {
                return;
            }
            const std::vector<Line> batch = std::exchange(lines, {});
            const std::size_t lostBehind = std::exchange(lost, 0);
            bytes = 0;
            lock.Unlock();
            Write(batch, lostBehind);
            unwrittenLines -= batch.size();
            lock.Lock();
        }
    }

    void Write(const std::vector<Line>& batch, std::size_t lostBehind) noexcept
    {
        for (const Line& line : batch)
        {
            WriteLoss();
            missing += TryWrite(line.level, line.text) ? 0 : 1;
        }
        missing += lostBehind;
        WriteLoss();
    }

    void WriteLoss() noexcept
    {
        if (missing == 0)
        {
            return;
        }
        try
        {
            const BasicString text = Text::Format("{0} lines are missing here: the log did not take them", missing);
            spdlog::memory_buf_t line;
            formatter->format(spdlog::details::log_msg(ToSourceLocation(LogLevel::Warning),
                                                       "Oxa::System::Commons::Diagnostics::Logging::LogManager",
                                                       spdlog::level::info, text),
                              line);
            missing = TryWrite(LogLevel::Warning, std::string_view(line.data(), line.size())) ? 0 : missing;
        }
        catch (const std::exception&)
        {
            // Out of memory: it is told later.
        }
    }

    [[nodiscard]] bool TryWrite(LogLevel level, std::string_view text) noexcept
    {
        try
        {
            return target.write(level, text);
        }
        catch (const std::exception&)
        {
            return false;
        }
    }

    const LogTarget target;

    System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    std::vector<Line> lines OXA_GUARDED_BY(mutex);
    std::size_t bytes OXA_GUARDED_BY(mutex) = 0;
    /// Since the thread took lines.
    std::size_t lost OXA_GUARDED_BY(mutex) = 0;
    bool hasThread OXA_GUARDED_BY(mutex) = false;
    bool isEnding OXA_GUARDED_BY(mutex) = false;

    /// The thread's own: lines that were lost and not told yet.
    std::size_t missing = 0;
    const std::unique_ptr<spdlog::formatter> formatter;
};

QueuedSink::QueuedSink(LogTarget target) : queue(std::make_shared<Queue>(std::move(target)))
{
    set_formatter_(MakeFormatter(queue->GetPattern()));
}

QueuedSink::~QueuedSink()
{
    queue->End();
}

void QueuedSink::WaitUntilWritten(std::chrono::milliseconds limit) noexcept
{
    for (std::chrono::milliseconds waited(0); unwrittenLines != 0 && waited < limit; ++waited)
    {
        poll(nullptr, 0, 1);
    }
}

void QueuedSink::sink_it_(const spdlog::details::log_msg& message)
{
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    queue->Add(GetLevel(message), std::string_view(line.data(), line.size()));
}

void QueuedSink::flush_() {}

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
