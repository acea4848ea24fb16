#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Rsc
{

/// The run of a device whose services a provider offers. A value type.
struct RscRun
{
    /// Never the same for two runs of any provider in the life of this process; 0: the services are not there now.
    uint64 epoch = 0;
    /// Another text after each restart of the device; empty when the provider has none.
    BasicString bootId;
    /// Another text when program or description of the device changed; empty when the provider has none.
    BasicString buildId;
};

} // namespace Oxa::System::Rsc
