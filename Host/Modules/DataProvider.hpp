#pragma once

#include "Host/Modules/RequestStrand.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Services::Commons::Wbm::Modules
{
class WbmRequestHandlerBase;
}

namespace Oxa::Host::Modules
{

/// One registered data provider: the module's handler and the strand of its requests.
struct DataProvider
{
    BasicString name;
    std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase> handler;
    std::shared_ptr<RequestStrand> strand;
    /// GET may ask it.
    bool isSafe = false;
};

} // namespace Oxa::Host::Modules
