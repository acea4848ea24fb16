#include "Host/Audit/AuditLog.hpp"

#include "Oxa/System/Nm/Notification.hpp"

#include <string_view>

namespace Oxa::Host::Audit
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// In quotes, and so that no text can end them.
BasicString Quote(std::string_view text)
{
    BasicString quoted = "'";
    for (const char character : text)
    {
        if (character == '\'' || character == '\\')
        {
            quoted += '\\';
        }
        quoted += character;
    }
    return quoted += '\'';
}

} // namespace

void AuditLog::Write(const System::Nm::Notification& notification) const
{
    BasicString details;
    for (const auto& [name, value] : notification.fields)
    {
        details += System::Commons::Text::Format(" {0}={1}", name, Quote(value));
    }
    Log(LogLevel::Information, "{0} source={1} user={2} text={3}{4}",
        System::Nm::GetNotificationKindName(notification.kind), Quote(notification.source), Quote(notification.user),
        Quote(notification.text), details);
}

} // namespace Oxa::Host::Audit
