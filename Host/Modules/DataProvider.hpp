#pragma once

#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <memory>

namespace Oxa::Services::Commons::Wbm::Modules
{
class WbmRequestHandlerBase;
}

namespace Oxa::Host::Modules
{

class ModuleGate;

/// One registered data provider: the module's handler and the strand of its requests.
struct DataProvider
{
    BasicString name;
    /// Called inside a visit of the gate only, and only when it is not withdrawn.
    std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase> handler;
    std::shared_ptr<Http::RequestStrand> strand;
    /// The module's.
    std::shared_ptr<ModuleGate> gate;
    /// GET may ask it.
    bool isSafe = false;
    /// The module has taken it back in order to register it again. Changes only while the gate is closed.
    mutable std::atomic<bool> isWithdrawn = false;
};

} // namespace Oxa::Host::Modules
