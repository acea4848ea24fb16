#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <spdlog/sinks/base_sink.h>

#include <mutex>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

/// Writes to syslog(3) with the true severity. The identity is the process's: the last sink that was made names it.
class SyslogSink final : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit SyslogSink(const BasicString& identity);

private:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
