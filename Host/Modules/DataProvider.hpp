#pragma once

#include "Host/Http/RequestStrand.hpp"
#include "Host/Modules/RegisteredHandler.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Services::Commons::Wbm::Modules
{
class WbmRequestHandlerBase;
}

namespace Oxa::Host::Modules
{

/// One registered data provider: the module's handler and the strand of its requests.
struct DataProvider : RegisteredHandler<Services::Commons::Wbm::Modules::WbmRequestHandlerBase>
{
    [[nodiscard]] const BasicString& GetName() const noexcept
    {
        return name;
    }

    BasicString name;
    std::shared_ptr<Http::RequestStrand> strand;
    /// GET may ask it.
    bool isSafe = false;
};

} // namespace Oxa::Host::Modules
