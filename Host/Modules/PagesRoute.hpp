#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <memory>

namespace Oxa::Host::Modules
{

class ModuleRegistry;

/// Tells which pages and languages the modules offer, as one user sees them. Threads: the event loop's.
class PagesRoute final
{
public:
    /// `strand` is where modules are asked, so that one that hangs holds up one thread only.
    PagesRoute(const ModuleRegistry& registry, Http::RequestStrand& strand);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange,
                                        System::Um::SecurityToken securityToken) const;

private:
    void Answer(Http::IHttpExchange& exchange, System::Um::SecurityToken securityToken) const;

    const ModuleRegistry& registry;
    Http::RequestStrand& strand;
};

} // namespace Oxa::Host::Modules
