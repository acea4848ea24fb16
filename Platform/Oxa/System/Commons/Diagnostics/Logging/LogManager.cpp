#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Internal/QueuedSink.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <spdlog/sinks/dist_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <map>
#include <utility>
#include <vector>

// The state's mutex guards the configuration and the lists; logging itself takes only the lock of the distributing
// sink, under which each sink formats or queues one line. No target is called under either of them.

namespace Oxa::System::Commons::Diagnostics::Logging
{

LogAdapter::LogAdapter(BasicString typeName, spdlog::sink_ptr sink, LogLevel level)
    : typeName(std::move(typeName)), sink(std::move(sink)), level(level)
{
}

LogAdapter::~LogAdapter() = default;

void LogAdapter::Write(LogLevel messageLevel, std::string_view message) noexcept
{
    if (messageLevel > GetLevel())
    {
        return;
    }
    try
    {
        const BasicString text = Text::EscapeControlCharacters(message);
        sink->log(spdlog::details::log_msg(typeName, static_cast<spdlog::level::level_enum>(messageLevel), text));
    }
    catch (...)
    {
        // Out of memory while logging: there is no way left to report it.
    }
}

ILogSink::~ILogSink() = default;

namespace
{

/// How long a target that takes no lines may delay the end of the process.
constexpr std::chrono::milliseconds maximumEndDelay{1000};

/// Hands what spdlog writes to a sink of the platform.
class SinkBridge final : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit SinkBridge(std::shared_ptr<ILogSink> sink) : sink(std::move(sink)) {}

private:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        sink->Write(Internal::GetLevel(message),
                    std::string_view(message.logger_name.data(), message.logger_name.size()),
                    std::string_view(message.payload.data(), message.payload.size()));
    }

    void flush_() override {}

    const std::shared_ptr<ILogSink> sink;
};

/// The state of the process's log. Never destroyed: classes may log until the very end of the process.
struct LogState
{
    Mutex mutex;
    LogConfiguration configuration OXA_GUARDED_BY(mutex);
    BasicString applicationName OXA_GUARDED_BY(mutex) = "oxa";
    const std::shared_ptr<spdlog::sinks::dist_sink_mt> distributor = std::make_shared<spdlog::sinks::dist_sink_mt>();
    std::vector<std::pair<std::shared_ptr<ILogSink>, spdlog::sink_ptr>> addedSinks OXA_GUARDED_BY(mutex);
    std::map<BasicString, std::shared_ptr<LogAdapter>> adapters OXA_GUARDED_BY(mutex);
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

void ApplySinks(LogState& state) OXA_REQUIRES(state.mutex)
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
        {
            const MutexLock lock(created->mutex);
            ApplySinks(*created);
        }
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
    const auto bridge = std::make_shared<SinkBridge>(sink);
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

std::shared_ptr<LogAdapter> LogManager::CreateLogAdapter(const BasicString& typeName)
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

} // namespace Oxa::System::Commons::Diagnostics::Logging
