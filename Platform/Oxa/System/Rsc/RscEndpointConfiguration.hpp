#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <chrono>

namespace Oxa::System::Rsc
{

/// Where the services of one provider are when this process does not provide them. A value type.
struct RscEndpointConfiguration
{
    BasicString providerName;
    /// Of a Unix socket.
    BasicString socketPath;
    std::chrono::milliseconds readTimeout{2000};
    std::chrono::milliseconds commandTimeout{10000};
};

} // namespace Oxa::System::Rsc
