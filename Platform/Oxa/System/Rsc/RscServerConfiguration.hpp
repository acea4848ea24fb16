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

/// Where a process offers its services to others, and to whom. A value type.
struct RscServerConfiguration
{
    /// Of a Unix socket; empty: none. A socket that is left over from another process is replaced.
    BasicString socketPath;
    /// Only these may connect.
    std::vector<RscServerUser> users;
    std::size_t maximumConnections = 32;
};

} // namespace Oxa::System::Rsc
