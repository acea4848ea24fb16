#include "Host/Sessions/AuditLog.hpp"

#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

namespace Oxa::Host::Sessions
{

using System::Commons::Diagnostics::Logging::LogLevel;

AuditLog::AuditLog(System::Nm::NotificationManager& notifications)
    : subscription(
          notifications.Subscribe([this](const System::Nm::Notification& notification) { Write(notification); }))
{
}

AuditLog::~AuditLog() = default;

void AuditLog::Write(const System::Nm::Notification& notification) const
{
    BasicString details;
    for (const auto& [name, value] : notification.fields)
    {
        details += System::Commons::Text::Format(" {0}='{1}'", name, value);
    }
    Log(LogLevel::Information, "{0} source='{1}' user='{2}' text='{3}'{4}",
        System::Nm::GetNotificationKindName(notification.kind), notification.source, notification.user,
        notification.text, details);
}

} // namespace Oxa::Host::Sessions
