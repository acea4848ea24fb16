#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/Registration/PageInfo.hpp"

#include <atomic>
#include <memory>
#include <utility>

namespace Oxa::Services::Commons::Wbm::Modules
{
class WbmPageHandlerBase;
}

namespace Oxa::Host::Modules
{

class ModuleGate;

/// One registered page.
struct RegisteredPage
{
    using PageInfo = Services::Commons::Wbm::Modules::Registration::PageInfo;
    using Handler = Services::Commons::Wbm::Modules::WbmPageHandlerBase;

    RegisteredPage(PageInfo info, std::shared_ptr<Handler> handler, std::shared_ptr<ModuleGate> gate)
        : info(std::move(info)), handler(std::move(handler)), gate(std::move(gate))
    {
    }

    PageInfo info;
    /// Called inside a visit of the gate only, and only when it is not withdrawn.
    std::shared_ptr<Handler> handler;
    /// The module's.
    std::shared_ptr<ModuleGate> gate;
    /// The module has taken it back in order to register it again. Changes only while the gate is closed.
    mutable std::atomic<bool> isWithdrawn = false;
};

} // namespace Oxa::Host::Modules
