#pragma once

#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Nm/NotificationKind.hpp"

#include <utility>
#include <vector>

namespace Oxa::System::Nm
{

/// Something that happened and that others may want to know, for instance for an audit trail. A value type.
/// Texts may hold any bytes; whoever shows or stores them makes them presentable. Never holds a secret.
struct Notification
{
    /// Set by NotificationManager::Publish when it has zero ticks.
    DateTime time;
    NotificationKind kind = NotificationKind::HostStarted;
    /// The part of the system that it happened in, for instance "Host.Sessions".
    BasicString source;
    /// The name of the user who did it; empty when nobody did.
    BasicString user;
    /// One sentence for people.
    BasicString text;
    /// Details for programs, as pairs of name and value.
    std::vector<std::pair<BasicString, BasicString>> fields;

    bool operator==(const Notification&) const = default;
};

} // namespace Oxa::System::Nm
