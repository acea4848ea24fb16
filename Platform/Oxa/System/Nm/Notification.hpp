#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::System::Nm
{

/// The kind of event. An enumerator keeps its number, new ones go to the end.
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
    ServiceLost = 15,
    ServiceBack = 16,
    /// A request that changes something, sent by a page of another site.
    CrossOriginRefused = 18,
    /// A request that the user's role does not allow.
    RightsRefused = 19,
    /// A log-in that was not checked: too many before it.
    LogInThrottled = 20,
    /// A token for programs.
    TokenAdded = 21,
    TokenRemoved = 22,
    /// By another session of the user, or by an administrator.
    SessionEndedByOther = 23,
    CertificateChanged = 24,
    ConfigurationReloaded = 25,
    ModuleStateChanged = 26,
    /// The previous process ended without stopping; published at the next start.
    HostCrashed = 27,
    /// The password was asked for again, before a command.
    PasswordConfirmed = 28,
    PasswordConfirmationFailed = 29,
    UserDisabled = 30,
    UserEnabled = 31,
    /// The audit trail cannot store notifications; AuditWritable tells how many were lost.
    AuditNotWritable = 32,
    AuditWritable = 33,
    /// Before a command is carried out; CommandExecuted or CommandFailed follows.
    CommandRequested = 34
};

/// The enumerator's name; "Unknown" for a number without one. Valid until the process ends.
[[nodiscard]] OXA_EXPORT std::string_view GetNotificationKindName(NotificationKind kind) noexcept;

/// Whether an enumerator has this name.
[[nodiscard]] OXA_EXPORT bool IsNotificationKindName(std::string_view name) noexcept;

/// An event that others may record, for instance in an audit trail. A value type. Texts may hold any bytes; code that
/// shows or stores them escapes them. Never holds a secret.
struct Notification
{
    /// Set by NotificationManager::Publish when it has zero ticks.
    DateTime time;
    NotificationKind kind = NotificationKind::HostStarted;
    /// The part of the system that reports it, for instance "Host.Sessions".
    BasicString source;
    /// The name of the user who caused it; empty without one.
    BasicString user;
    /// The subject of the event, or one sentence for people.
    BasicString text;
    /// Details for programs, as pairs of name and value.
    std::vector<std::pair<BasicString, BasicString>> fields;

    bool operator==(const Notification&) const = default;
};

} // namespace Oxa::System::Nm
