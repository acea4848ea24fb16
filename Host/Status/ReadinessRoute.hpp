#pragma once

#include "Host/Http/IHttpHandler.hpp"
#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::Host::Modules
{
class ModuleManager;
class ModuleRegistry;
} // namespace Oxa::Host::Modules

namespace Oxa::Host::Status
{

/// Says whether everything that is configured is up, and else what is missing, by name. Threads: the event loop's.
class ReadinessRoute final
{
public:
    /// `strand` is where the modules are asked.
    ReadinessRoute(const Modules::ModuleManager& modules, const Modules::ModuleRegistry& registry,
                   Http::RequestStrand& strand);

    /// Components that will not come up any more. Before the first request.
    void SetFailedComponents(std::vector<BasicString> names);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const;

private:
    void Answer(Http::IHttpExchange& exchange) const;

    const Modules::ModuleManager& modules;
    const Modules::ModuleRegistry& registry;
    Http::RequestStrand& strand;
    std::vector<BasicString> components;
};

} // namespace Oxa::Host::Status
