#pragma once

#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <memory>

namespace Oxa::Host::Modules
{
class ModuleRegistry;
}

namespace Oxa::Host::Routes
{

/// Sends which pages and languages the modules offer, as one user sees them. Threads: the event loop's.
class PagesRoute final
{
public:
    /// `registry` is borrowed.
    explicit PagesRoute(const Modules::ModuleRegistry& registry);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange,
                                        System::Um::SecurityToken securityToken) const;

private:
    void Send(Http::IHttpExchange& exchange, System::Um::SecurityToken securityToken) const;

    const Modules::ModuleRegistry& registry;
    /// A module that hangs delays this route only.
    const std::shared_ptr<Http::RequestStrand> strand;
};

} // namespace Oxa::Host::Routes
