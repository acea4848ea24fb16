#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::System::Nm
{

/// What happened. The numbers are stored in audit trails: an enumerator keeps its number, new ones go to the end.
enum class NotificationKind : uint16
{
    HostStarted = 1,
    HostStopped = 2,
    LoggedIn = 3,
    LogInFailed = 4,
    LoggedOut = 5,
    SessionExpired = 6,
    CommandExecuted = 7,
    CommandFailed = 8,
    CommandRefused = 9,
    UserAdded = 10,
    UserRemoved = 11,
    UserChanged = 12,
    ConfigurationChanged = 13,
    ModuleFailed = 14,
    ServiceLost = 15,
    ServiceBack = 16,
    /// For one subscriber: it was too slow. The field "count" tells how many notifications it did not get.
    NotificationsLost = 17
};

/// The enumerator's name; "Unknown" for a number without one. Valid until the process ends.
[[nodiscard]] OXA_EXPORT std::string_view GetNotificationKindName(NotificationKind kind) noexcept;

} // namespace Oxa::System::Nm
