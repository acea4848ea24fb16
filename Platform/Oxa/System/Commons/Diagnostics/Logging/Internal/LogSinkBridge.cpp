#include "Oxa/System/Commons/Diagnostics/Logging/Internal/LogSinkBridge.hpp"

#include "Oxa/System/Commons/Diagnostics/Logging/Internal/Severity.hpp"

#include <utility>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

LogSinkBridge::LogSinkBridge(std::shared_ptr<ILogSink> sink) : sink(std::move(sink)) {}

void LogSinkBridge::sink_it_(const spdlog::details::log_msg& message)
{
    sink->Write(GetLevel(message), std::string_view(message.logger_name.data(), message.logger_name.size()),
                std::string_view(message.payload.data(), message.payload.size()));
}

void LogSinkBridge::flush_() {}

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
