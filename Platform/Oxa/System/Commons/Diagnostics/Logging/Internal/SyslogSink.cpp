#include "Oxa/System/Commons/Diagnostics/Logging/Internal/SyslogSink.hpp"

#include "Oxa/System/Commons/Diagnostics/Logging/Internal/Severity.hpp"

#include <syslog.h>

#include <list>

namespace Oxa::System::Commons::Diagnostics::Logging::Internal
{

SyslogSink::SyslogSink(const BasicString& identity)
{
    // The C library keeps the pointer for as long as the process may log, so the texts are never freed; there are as
    // many as changes of the application's name.
    static auto& identities = *new std::list<BasicString>;
    identities.push_back(identity);
    openlog(identities.back().c_str(), LOG_PID, LOG_DAEMON);
}

void SyslogSink::sink_it_(const spdlog::details::log_msg& message)
{
    syslog(static_cast<int>(GetLevel(message)), "%.*s: %.*s", static_cast<int>(message.logger_name.size()),
           message.logger_name.data(), static_cast<int>(message.payload.size()), message.payload.data());
}

void SyslogSink::flush_() {}

} // namespace Oxa::System::Commons::Diagnostics::Logging::Internal
