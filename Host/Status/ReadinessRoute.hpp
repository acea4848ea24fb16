#pragma once

#include "Host/Http/IHttpHandler.hpp"
#include "Host/Modules/RequestStrand.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::Host::Modules
{
class ModuleRegistry;
}

namespace Oxa::Host::Status
{

/// Says whether everything that is configured is up, and else what is missing, by name. Threads: the event loop's.
class ReadinessRoute final
{
public:
    /// `strand` is where the modules are asked.
    ReadinessRoute(const Modules::ModuleRegistry& registry, Modules::RequestStrand& strand);

    /// Components and modules that will not come up any more. Before the first request.
    void SetFailed(std::vector<BasicString> failedComponents, std::vector<BasicString> failedModules);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const;

private:
    void Answer(Http::IHttpExchange& exchange) const;

    const Modules::ModuleRegistry& registry;
    Modules::RequestStrand& strand;
    std::vector<BasicString> components;
    std::vector<BasicString> modules;
};

} // namespace Oxa::Host::Status
