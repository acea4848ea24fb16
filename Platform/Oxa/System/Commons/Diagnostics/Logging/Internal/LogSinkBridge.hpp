#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/ILogSink.hpp"

#include <spdlog/sinks/base_sink.h>

#include <memory>
#include <mutex>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

/// Hands what spdlog writes to a sink of the platform. Owned by the log manager.
class LogSinkBridge final : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit LogSinkBridge(std::shared_ptr<ILogSink> sink);

private:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override;

    std::shared_ptr<ILogSink> sink;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
