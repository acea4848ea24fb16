#include "Oxa/System/Nm/NotificationKind.hpp"

namespace Oxa::System::Nm
{

std::string_view GetNotificationKindName(NotificationKind kind) noexcept
{
    switch (kind)
    {
    case NotificationKind::HostStarted:
        return "HostStarted";
    case NotificationKind::HostStopped:
        return "HostStopped";
    case NotificationKind::LoggedIn:
        return "LoggedIn";
    case NotificationKind::LogInFailed:
        return "LogInFailed";
    case NotificationKind::LoggedOut:
        return "LoggedOut";
    case NotificationKind::SessionExpired:
        return "SessionExpired";
    case NotificationKind::CommandExecuted:
        return "CommandExecuted";
    case NotificationKind::CommandFailed:
        return "CommandFailed";
    case NotificationKind::CommandRefused:
        return "CommandRefused";
    case NotificationKind::UserAdded:
        return "UserAdded";
    case NotificationKind::UserRemoved:
        return "UserRemoved";
    case NotificationKind::UserChanged:
        return "UserChanged";
    case NotificationKind::ConfigurationChanged:
        return "ConfigurationChanged";
    case NotificationKind::ModuleFailed:
        return "ModuleFailed";
    case NotificationKind::ServiceLost:
        return "ServiceLost";
    case NotificationKind::ServiceBack:
        return "ServiceBack";
    case NotificationKind::NotificationsLost:
        return "NotificationsLost";
    }
    return "Unknown";
}

} // namespace Oxa::System::Nm
