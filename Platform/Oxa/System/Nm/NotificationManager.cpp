#include "Oxa/System/Nm/NotificationManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <chrono>
#include <utility>

namespace Oxa::System::Nm
{

using System::Commons::ArgumentException;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;

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
    case NotificationKind::ModuleFailed:
        return "ModuleFailed";
    case NotificationKind::ServiceLost:
        return "ServiceLost";
    case NotificationKind::ServiceBack:
        return "ServiceBack";
    case NotificationKind::CrossOriginRefused:
        return "CrossOriginRefused";
    }
    return "Unknown";
}

NotificationManager::NotificationManager() = default;

NotificationManager::~NotificationManager() = default;

void NotificationManager::Publish(Notification notification) noexcept
{
    if (notification.time.GetTicks() == 0)
    {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        notification.time =
            DateTime::FromUnixTimeMicroseconds(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
    }
    // Held meanwhile: every subscriber sees the same order.
    const MutexLock lock(mutex);
    for (const Subscriber& subscriber : subscribers)
    {
        try
        {
            subscriber(notification);
        }
        catch (...)
        {
            Log(LogLevel::Error, "a subscriber failed: {0}", System::Commons::DescribeCurrentException());
        }
    }
}

void NotificationManager::Subscribe(Subscriber subscriber)
{
    if (!subscriber)
    {
        throw ArgumentException::CreateDefault("subscriber");
    }
    const MutexLock lock(mutex);
    subscribers.push_back(std::move(subscriber));
}

} // namespace Oxa::System::Nm
