#include "Oxa/System/Nm/NotificationManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace Oxa::System::Nm
{

using System::Commons::ArgumentException;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::pair<NotificationKind, std::string_view> kindNames[] = {
    {NotificationKind::HostStarted, "HostStarted"},
    {NotificationKind::HostStopped, "HostStopped"},
    {NotificationKind::LoggedIn, "LoggedIn"},
    {NotificationKind::LogInFailed, "LogInFailed"},
    {NotificationKind::LoggedOut, "LoggedOut"},
    {NotificationKind::SessionExpired, "SessionExpired"},
    {NotificationKind::CommandExecuted, "CommandExecuted"},
    {NotificationKind::CommandFailed, "CommandFailed"},
    {NotificationKind::CommandRefused, "CommandRefused"},
    {NotificationKind::UserAdded, "UserAdded"},
    {NotificationKind::UserRemoved, "UserRemoved"},
    {NotificationKind::UserChanged, "UserChanged"},
    {NotificationKind::ServiceLost, "ServiceLost"},
    {NotificationKind::ServiceBack, "ServiceBack"},
    {NotificationKind::CrossOriginRefused, "CrossOriginRefused"},
    {NotificationKind::RightsRefused, "RightsRefused"},
    {NotificationKind::LogInThrottled, "LogInThrottled"},
    {NotificationKind::TokenAdded, "TokenAdded"},
    {NotificationKind::TokenRemoved, "TokenRemoved"},
    {NotificationKind::SessionEndedByOther, "SessionEndedByOther"},
    {NotificationKind::CertificateChanged, "CertificateChanged"},
    {NotificationKind::ConfigurationReloaded, "ConfigurationReloaded"},
    {NotificationKind::ModuleStateChanged, "ModuleStateChanged"},
    {NotificationKind::HostCrashed, "HostCrashed"},
    {NotificationKind::PasswordConfirmed, "PasswordConfirmed"},
    {NotificationKind::PasswordConfirmationFailed, "PasswordConfirmationFailed"},
    {NotificationKind::UserDisabled, "UserDisabled"},
    {NotificationKind::UserEnabled, "UserEnabled"},
    {NotificationKind::AuditNotWritable, "AuditNotWritable"},
    {NotificationKind::AuditWritable, "AuditWritable"},
    {NotificationKind::CommandRequested, "CommandRequested"},
};

} // namespace

std::string_view GetNotificationKindName(NotificationKind kind) noexcept
{
    const auto* const found = std::ranges::find(kindNames, kind, &std::pair<NotificationKind, std::string_view>::first);
    return found != std::end(kindNames) ? found->second : "Unknown";
}

bool IsNotificationKindName(std::string_view name) noexcept
{
    return std::ranges::find(kindNames, name, &std::pair<NotificationKind, std::string_view>::second) !=
           std::end(kindNames);
}

void NotificationManager::Publish(Notification notification) noexcept
{
    if (notification.time.GetTicks() == 0)
    {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        notification.time =
            DateTime::FromUnixTimeMicroseconds(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
    }
    // Held during the calls, so that every subscriber sees the same order.
    MutexLock lock(mutex);
    for (const Subscription& each : subscriptions)
    {
        RunGuarded([&each, &notification] { each.subscriber(notification); });
    }
    for (const Subscription& each : subscriptions)
    {
        if (each.complete)
        {
            lock.Unlock();
            RunGuarded(each.complete);
            lock.Lock();
        }
    }
}

template <class Call>
void NotificationManager::RunGuarded(const Call& call) const noexcept
{
    try
    {
        call();
    }
    catch (...)
    {
        Log(LogLevel::Error, "a subscriber failed: {0}", System::Commons::DescribeCurrentException());
    }
}

void NotificationManager::Subscribe(Subscriber subscriber, Completion complete)
{
    if (!subscriber)
    {
        throw ArgumentException::CreateDefault("subscriber");
    }
    const MutexLock lock(mutex);
    subscriptions.push_back({std::move(subscriber), std::move(complete)});
}

} // namespace Oxa::System::Nm
