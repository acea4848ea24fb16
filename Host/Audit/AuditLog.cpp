#include "Host/Audit/AuditLog.hpp"

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <string_view>

namespace Oxa::Host::Audit
{

namespace
{

/// " NAME='VALUE'", with a backslash before quotes and backslashes, so that no text can end its field.
void Append(BasicString& line, std::string_view name, std::string_view value)
{
    line.append(" ").append(name).append("='");
    for (const char each : value)
    {
        if (each == '\'' || each == '\\')
        {
            line += '\\';
        }
        line += each;
    }
    line += '\'';
}

} // namespace

void AuditLog::Write(const System::Nm::Notification& notification, AuditLimiter::Clock::time_point now)
{
    const auto furtherFields = limiter.Admit(notification, now);
    if (!furtherFields)
    {
        return;
    }
    BasicString line(System::Nm::GetNotificationKindName(notification.kind));
    Append(line, "source", notification.source);
    Append(line, "user", notification.user);
    Append(line, "text", notification.text);
    for (const auto* const fields : {&notification.fields, &*furtherFields})
    {
        for (const auto& [name, value] : *fields)
        {
            Append(line, name, value);
        }
    }
    Log(System::Commons::Diagnostics::Logging::LogLevel::Information, "{0}", line);
}

} // namespace Oxa::Host::Audit
