#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Internal/LogSinkBridge.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Internal/LogTarget.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Internal/QueuedSink.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Internal/Severity.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <spdlog/logger.h>
#include <spdlog/sinks/dist_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace Oxa::System::Commons::Diagnostics::Logging
{

ILogAdapter::~ILogAdapter() = default;

ILogSink::~ILogSink() = default;

namespace
{

using Internal::LogSinkBridge;

/// How long a target that takes no lines may delay the end of the process.
constexpr std::chrono::milliseconds maximumEndDelay{1000};

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
            logger.log(Internal::ToSourceLocation(messageLevel), spdlog::level::info,
                       Text::EscapeControlCharacters(message));
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
    std::map<BasicString, std::shared_ptr<LogAdapter>, std::less<>> adapters;
};

spdlog::sink_ptr CreateTargetSink(const LogConfiguration& configuration, const BasicString& applicationName)
{
    switch (configuration.target)
    {
    case LogConfiguration::Target::File:
        return std::make_shared<Internal::QueuedSink>(Internal::MakeFileTarget(configuration.filePath));
    case LogConfiguration::Target::Syslog:
        return std::make_shared<Internal::QueuedSink>(Internal::MakeSyslogTarget(applicationName));
    case LogConfiguration::Target::None:
        return std::make_shared<spdlog::sinks::null_sink_mt>();
    case LogConfiguration::Target::Console:
        break;
    }
    return std::make_shared<Internal::QueuedSink>(Internal::MakeConsoleTarget());
}

/// Requires: the state's mutex is held, unless nobody else knows the state yet.
void ApplySinks(LogState& state)
{
    std::vector<spdlog::sink_ptr> sinks = {CreateTargetSink(state.configuration, state.applicationName)};
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
        std::atexit([] { LogManager::WaitUntilWritten(maximumEndDelay); });
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
    const MutexLock lock(state.mutex);
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

BasicString LogManager::GetApplicationName()
{
    LogState& state = GetState();
    const MutexLock lock(state.mutex);
    return state.applicationName;
}

void LogManager::Configure(const LogConfiguration& configuration)
{
    LogState& state = GetState();
    const MutexLock lock(state.mutex);
    LogConfiguration previous = std::exchange(state.configuration, configuration);
    try
    {
        ApplySinks(state);
    }
    catch (...)
    {
        state.configuration = std::move(previous);
        throw;
    }
    for (const auto& [typeName, adapter] : state.adapters)
    {
        adapter->SetLevel(FindLevel(state.configuration, typeName));
    }
}

void LogManager::AddSink(std::shared_ptr<ILogSink> sink)
{
    LogState& state = GetState();
    const MutexLock lock(state.mutex);
    const auto bridge = std::make_shared<LogSinkBridge>(sink);
    state.addedSinks.emplace_back(std::move(sink), bridge);
    state.distributor->add_sink(bridge);
}

void LogManager::RemoveSink(const std::shared_ptr<ILogSink>& sink)
{
    LogState& state = GetState();
    const MutexLock lock(state.mutex);
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
    const MutexLock lock(state.mutex);
    auto& adapter = state.adapters[typeName];
    if (!adapter)
    {
        adapter = std::make_shared<LogAdapter>(typeName, state.distributor, FindLevel(state.configuration, typeName));
    }
    return adapter;
}

void LogManager::WaitUntilWritten(std::chrono::milliseconds limit) noexcept
{
    Internal::QueuedSink::WaitUntilWritten(limit);
}

int64 LogManager::GetThreadNumber() noexcept
{
    return gettid();
}

} // namespace Oxa::System::Commons::Diagnostics::Logging
