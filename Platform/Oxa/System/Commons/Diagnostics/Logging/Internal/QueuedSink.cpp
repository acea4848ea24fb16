#include "Oxa/System/Commons/Diagnostics/Logging/Internal/QueuedSink.hpp"

#include "Oxa/System/Commons/Diagnostics/BoundedWrite.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spdlog/pattern_formatter.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <list>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

// Threads that log hold a sink's lock and then its queue's mutex, each only to format and move a line. The queue's
// thread takes the mutex to fetch all lines and releases it before it calls the target, which may block for ever: so no
// thread waits for a target. The mutex guards all of the queue but what the thread alone uses.

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

namespace
{

constexpr const char* patternWithTime = "%Y-%m-%dT%H:%M:%S.%e%z %* %n: %v\n";

/// A line that a full disk cut off is ended first, so that the next one stands alone.
bool WriteLine(int descriptor, std::string_view line, bool& isCutOff) noexcept
{
    BasicString text = isCutOff ? "\n" : "";
    text += line;
    std::string_view rest = text;
    while (!rest.empty())
    {
        const ssize_t written = write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
        {
            continue;
        }
        if (written <= 0)
        {
            isCutOff = isCutOff || rest.size() != text.size();
            return false;
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    isCutOff = false;
    return true;
}

/// What a process logs in a few seconds when much goes wrong.
constexpr std::size_t maximumQueuedBytes = std::size_t{128} * 1024;

/// Of all sinks; those in a batch that is being written count until the batch is through.
std::atomic<std::size_t> unwrittenLines = 0;

/// Writes the severity where a pattern asks for it.
class SeverityFlag final : public spdlog::custom_flag_formatter
{
public:
    explicit SeverityFlag(bool isNumber) noexcept : isNumber(isNumber) {}

    void format(const spdlog::details::log_msg& message, const std::tm& /*time*/, spdlog::memory_buf_t& target) override
    {
        const LogLevel level = GetLevel(message);
        const std::string_view text =
            isNumber ? std::string_view("01234567").substr(static_cast<std::size_t>(level), 1) : GetLogLevelName(level);
        target.append(text.data(), text.data() + text.size());
    }

    [[nodiscard]] std::unique_ptr<spdlog::custom_flag_formatter> clone() const override
    {
        return std::make_unique<SeverityFlag>(isNumber);
    }

private:
    const bool isNumber;
};

std::unique_ptr<spdlog::formatter> MakeFormatter(const char* pattern)
{
    auto formatter = std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::local, "");
    formatter->add_flag<SeverityFlag>('*', false).add_flag<SeverityFlag>('#', true).set_pattern(pattern);
    return formatter;
}

/// Threads that are started in its scope block all signals: those are for the threads that wait for them.
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

LogTarget MakeConsoleTarget()
{
    const auto write = [isCutOff = false](LogLevel /*level*/, std::string_view line) mutable
    {
        return WriteLine(STDERR_FILENO, line, isCutOff);
    };
    return {IsJournalStream() ? "<%#>%n: %v\n" : patternWithTime, write};
}

LogTarget MakeFileTarget(const BasicString& path)
{
    // A folder that cannot be made is reported when the file is opened.
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    const auto file =
        std::make_shared<const FileDescriptor>(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    if (!file->IsOpen())
    {
        ThrowErrno("cannot open the log file '" + path + '\'', errno);
    }
    const auto write = [file, isCutOff = false](LogLevel /*level*/, std::string_view line) mutable
    {
        return WriteLine(file->Get(), line, isCutOff);
    };
    return {patternWithTime, write};
}

LogTarget MakeSyslogTarget(const BasicString& identity)
{
    // The C library keeps the pointer for as long as the process may log, so the texts are never freed; there are as
    // many as changes of the application's name.
    static auto& identities = *new std::list<BasicString>;
    identities.push_back(identity);
    openlog(identities.back().c_str(), LOG_PID, LOG_DAEMON);
    const auto write = [](LogLevel level, std::string_view line)
    {
        syslog(static_cast<int>(level), "%.*s", static_cast<int>(line.size()), line.data());
        return true;
    };
    return {"%n: %v", write};
}

// The sink and its thread share the queue, so that destroying the sink need not wait for a thread that hangs in the
// target.
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
            formatter->format(spdlog::details::log_msg("Oxa::System::Commons::Diagnostics::Logging::LogManager",
                                                       static_cast<spdlog::level::level_enum>(LogLevel::Warning), text),
                              line);
            missing = TryWrite(LogLevel::Warning, std::string_view(line.data(), line.size())) ? 0 : missing;
        }
        catch (const std::exception&)
        {
            // Out of memory: the loss is reported later.
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
    /// Lines that were dropped since the thread last fetched.
    std::size_t lost OXA_GUARDED_BY(mutex) = 0;
    bool hasThread OXA_GUARDED_BY(mutex) = false;
    bool isEnding OXA_GUARDED_BY(mutex) = false;

    /// Used by the thread only: lines that were lost and not reported yet.
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
