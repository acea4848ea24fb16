#include "Oxa/System/Commons/Diagnostics/Logging/Internal/LogSinkBridge.hpp"

#include <utility>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

namespace
{

LogLevel FromSpdlogLevel(spdlog::level::level_enum level) noexcept
{
    switch (level)
    {
    case spdlog::level::critical:
        return LogLevel::Critical;
    case spdlog::level::err:
        return LogLevel::Error;
    case spdlog::level::warn:
        return LogLevel::Warning;
    case spdlog::level::info:
        return LogLevel::Information;
    default:
        return LogLevel::Debug;
    }
}

} // namespace

spdlog::level::level_enum ToSpdlogLevel(LogLevel level) noexcept
{
    switch (level)
    {
    case LogLevel::Emergency:
    case LogLevel::Alert:
    case LogLevel::Critical:
        return spdlog::level::critical;
    case LogLevel::Error:
        return spdlog::level::err;
    case LogLevel::Warning:
        return spdlog::level::warn;
    case LogLevel::Notice:
    case LogLevel::Information:
        return spdlog::level::info;
    case LogLevel::Debug:
        break;
    }
    return spdlog::level::debug;
}

LogSinkBridge::LogSinkBridge(std::shared_ptr<ILogSink> sink) : sink(std::move(sink)) {}

void LogSinkBridge::sink_it_(const spdlog::details::log_msg& message)
{
    sink->Write(FromSpdlogLevel(message.level),
                std::string_view(message.logger_name.data(), message.logger_name.size()),
                std::string_view(message.payload.data(), message.payload.size()));
}

void LogSinkBridge::flush_() {}

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
