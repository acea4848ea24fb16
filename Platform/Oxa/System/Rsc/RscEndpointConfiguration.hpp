#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <chrono>

namespace Oxa::System::Rsc
{

/// Where the services of one provider are to be had when the own process does not provide them: at a socket, or on a
/// message bus. A value type.
struct RscEndpointConfiguration
{
    BasicString providerName;
    /// Of a Unix socket; empty: on a bus.
    BasicString socketPath;
    /// "system", "session" or an address in the notation of D-Bus. Only without a socket.
    BasicString busAddress;
    /// The well-known name of the other process on the bus.
    BasicString busName;
    std::chrono::milliseconds readTimeout{2000};
    std::chrono::milliseconds commandTimeout{10000};
};

} // namespace Oxa::System::Rsc
