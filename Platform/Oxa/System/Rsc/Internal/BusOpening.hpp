#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/BusHandles.hpp"

namespace Oxa::System::Rsc::Internal
{

// The functions that make a bus throw std::system_error when that cannot be done. File descriptors in messages are
// refused on every bus: no operation takes any.

/// A bus that is not started yet.
[[nodiscard]] BusHandle MakeBus();

/// A bus that has begun to connect to the message bus at an address in the notation of D-Bus.
[[nodiscard]] BusHandle OpenMessageBus(const BasicString& address);

/// The address in the notation of D-Bus for "system" and "session"; any other one as it is.
[[nodiscard]] BasicString ResolveBusAddress(const BasicString& address);

} // namespace Oxa::System::Rsc::Internal
