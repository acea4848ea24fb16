#pragma once

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"
#include "Oxa/System/Rsc/Internal/BusHandles.hpp"

namespace Oxa::System::Rsc::Internal
{

/// Authenticates at the process at the other end of a connected Unix socket, which does not block, and makes a bus of
/// it that is ready for messages. Not left to sd-bus: it reads what follows the handshake together with it, before
/// anybody could look at its length, and aborts the process when that contains the end of a line. Throws
/// RscServiceException with the cause alone: Refused when the other end turns the connection away or goes away,
/// TimedOut when nothing comes of it until the deadline, BadAnswer when the answer is none, NotAvailable when this
/// process cannot make a bus.
[[nodiscard]] BusHandle AuthenticateAsClient(System::Commons::FileDescriptor connected, CallDeadline deadline);

} // namespace Oxa::System::Rsc::Internal
