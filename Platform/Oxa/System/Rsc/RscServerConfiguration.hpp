#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <vector>

namespace Oxa::System::Rsc
{

/// Somebody who may call the services from another process.
struct RscServerUser
{
    /// A user of the system by name, or the number of one. One that the system does not know is logged and let go.
    BasicString name;
    /// Also commands, not only reads.
    bool mayCommand = false;
};

/// Where a process offers its services to others: at a socket, on a message bus, or both. A value type.
struct RscServerConfiguration
{
    /// Of a Unix socket; empty: none. A socket that is left over from another process is replaced.
    BasicString socketPath;
    /// "system", "session" or an address in the notation of D-Bus; empty: no bus.
    BasicString busAddress;
    /// The well-known name that is asked for on the bus.
    BasicString busName;
    /// Nobody else may connect, or, on a bus, call.
    std::vector<RscServerUser> users;
    std::size_t maximumConnections = 8;
};

} // namespace Oxa::System::Rsc
