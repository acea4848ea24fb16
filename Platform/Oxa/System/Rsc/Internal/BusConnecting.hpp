#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/BusHandles.hpp"

#include <chrono>

namespace Oxa::System::Rsc::Internal
{

using CallClock = std::chrono::steady_clock;
using CallDeadline = CallClock::time_point;

/// Of RscServiceException, TimedOut, when a connection is not made before the deadline.
inline constexpr const char* connectingTimedOutText = "the connection was not made in time";

/// Connects to the process that listens at a Unix socket, and authenticates. Throws RscServiceException with the cause
/// alone: NotAvailable when nobody is there, Refused when the other end turns the connection away, TimedOut when
/// nothing comes of it until the deadline, BadAnswer when what it answers is no handshake.
[[nodiscard]] BusHandle ConnectToSocket(const BasicString& path, CallDeadline deadline);

} // namespace Oxa::System::Rsc::Internal
