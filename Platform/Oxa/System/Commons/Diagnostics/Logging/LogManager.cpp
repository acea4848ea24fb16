#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Internal/LogSinkBridge.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/dist_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace Oxa::System::Commons::Diagnostics::Logging
{

ILogAdapter::~ILogAdapter() = default;

ILogSink::~ILogSink() = default;

namespace
{

using Internal::LogSinkBridge;

class LogAdapter final : public ILogAdapter
{
public:
    LogAdapter(const BasicString& typeName, const spdlog::sink_ptr& sink, LogLevel initialLevel)
        : logger(typeName, sink), level(initialLevel)
    {
        logger.set_level(spdlog::level::trace);
        logger.flush_on(spdlog::level::trace);
    }

    [[nodiscard]] LogLevel GetLevel() const noexcept override
    {
        return level.load(std::memory_order_relaxed);
    }

    void Write(LogLevel messageLevel, std::string_view message) noexcept override
    {
        if (messageLevel > GetLevel())
        {
            return;
        }
        try
        {
            logger.log(Internal::ToSpdlogLevel(messageLevel), Text::EscapeControlCharacters(message));
        }
        catch (...)
        {
            // Out of memory while logging: there is nobody left to tell.
        }
    }

    void SetLevel(LogLevel newLevel) noexcept
    {
        level.store(newLevel, std::memory_order_relaxed);
    }

    [[nodiscard]] const BasicString& GetTypeName() const noexcept
    {
        return logger.name();
    }

private:
    spdlog::logger logger;
    std::atomic<LogLevel> level;
};

/// All that the process's log knows. Never destroyed: classes may log until the very end of the process.
struct LogState
{
    Mutex mutex;
    LogConfiguration configuration;
    BasicString applicationName = "oxa";
    std::shared_ptr<spdlog::sinks::dist_sink_mt> distributor = std::make_shared<spdlog::sinks::dist_sink_mt>();
    std::vector<std::pair<std::shared_ptr<ILogSink>, spdlog::sink_ptr>> addedSinks;
    std::vector<std::weak_ptr<LogAdapter>> adapters;
};

spdlog::sink_ptr CreateTargetSink(const LogConfiguration& configuration, const BasicString& applicationName)
{
    switch (configuration.target)
    {
    case LogConfiguration::Target::File:
        return std::make_shared<spdlog::sinks::basic_file_sink_mt>(configuration.filePath);
    case LogConfiguration::Target::Syslog:
        return std::make_shared<spdlog::sinks::syslog_sink_mt>(applicationName, LOG_PID, LOG_DAEMON, true);
    case LogConfiguration::Target::None:
        return std::make_shared<spdlog::sinks::null_sink_mt>();
    case LogConfiguration::Target::Console:
        break;
    }
    return std::make_shared<spdlog::sinks::stderr_sink_mt>();
}

/// Requires: the state's mutex is held, unless nobody else knows the state yet.
void ApplySinks(LogState& state)
{
    std::vector<spdlog::sink_ptr> sinks = {CreateTargetSink(state.configuration, state.applicationName)};
    const bool isSyslog = state.configuration.target == LogConfiguration::Target::Syslog;
    sinks.front()->set_pattern(isSyslog ? "%n: %v" : "%Y-%m-%dT%H:%M:%S.%e%z %l %n: %v");
    for (const auto& [sink, bridge] : state.addedSinks)
    {
        sinks.push_back(bridge);
    }
    state.distributor->set_sinks(std::move(sinks));
}

LogState& GetState()
{
    static LogState& state = []() -> LogState&
    {
        auto* const created = new LogState;
        ApplySinks(*created);
        return *created;
    }();
    return state;
}

LogLevel FindLevel(const LogConfiguration& configuration, std::string_view typeName)
{
    LogLevel level = configuration.level;
    std::size_t longest = 0;
    for (const auto& [prefix, prefixLevel] : configuration.levelsByPrefix)
    {
        if (prefix.size() >= longest && typeName.starts_with(prefix))
        {
            level = prefixLevel;
            longest = prefix.size();
        }
    }
    return level;
}

} // namespace

void LogManager::AssignAppDomain(AppDomain& appDomain)
{
    LogState& state = GetState();
    const std::lock_guard lock(state.mutex);
    if (state.applicationName == appDomain.GetName())
    {
        return;
    }
    state.applicationName = appDomain.GetName();
    if (state.configuration.target == LogConfiguration::Target::Syslog)
    {
        ApplySinks(state);
    }
}

void LogManager::Configure(const LogConfiguration& configuration)
{
    LogState& state = GetState();
    const std::lock_guard lock(state.mutex);
    LogConfiguration previous = std::exchange(state.configuration, configuration);
    try
    {
        ApplySinks(state);
    }
    catch (const spdlog::spdlog_ex& exception)
    {
        state.configuration = std::move(previous);
        throw InvalidOperationException::Create("cannot open the log file '{0}': {1}", configuration.filePath,
                                                exception.what());
    }
    for (const auto& weak : state.adapters)
    {
        if (const auto adapter = weak.lock())
        {
            adapter->SetLevel(FindLevel(state.configuration, adapter->GetTypeName()));
        }
    }
}

void LogManager::AddSink(std::shared_ptr<ILogSink> sink)
{
    LogState& state = GetState();
    const std::lock_guard lock(state.mutex);
    const auto bridge = std::make_shared<LogSinkBridge>(sink);
    state.addedSinks.emplace_back(std::move(sink), bridge);
    state.distributor->add_sink(bridge);
}

void LogManager::RemoveSink(const std::shared_ptr<ILogSink>& sink)
{
    LogState& state = GetState();
    const std::lock_guard lock(state.mutex);
    const auto found = std::find_if(state.addedSinks.begin(), state.addedSinks.end(),
                                    [&sink](const auto& added) { return added.first == sink; });
    if (found == state.addedSinks.end())
    {
        return;
    }
    state.distributor->remove_sink(found->second);
    state.addedSinks.erase(found);
}

std::shared_ptr<ILogAdapter> LogManager::CreateLogAdapter(const BasicString& typeName)
{
    LogState& state = GetState();
    const std::lock_guard lock(state.mutex);
    auto adapter = std::make_shared<LogAdapter>(typeName, state.distributor, FindLevel(state.configuration, typeName));
    std::erase_if(state.adapters, [](const auto& weak) { return weak.expired(); });
    state.adapters.push_back(adapter);
    return adapter;
}

int64 LogManager::GetThreadNumber() noexcept
{
    return gettid();
}

} // namespace Oxa::System::Commons::Diagnostics::Logging
