#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::Host::Modules
{
class ModuleRegistry;
class ModuleSupervisor;
} // namespace Oxa::Host::Modules

namespace Oxa::System::Acf
{
class ComponentManager;
}

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host::Status
{

/// Says whether everything that is configured is up, and else what is missing or hangs, by name. Threads: the event
/// loop's.
class ReadinessRoute final : private System::Commons::Diagnostics::Logging::Loggable<ReadinessRoute>
{
public:
    /// `strand` is where the modules are asked. Everything is borrowed.
    ReadinessRoute(const System::Acf::ComponentManager& components, const Modules::ModuleSupervisor& modules,
                   const Modules::ModuleRegistry& registry, const System::Um::UserManager& users,
                   Http::RequestStrand& strand);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const;

private:
    void Answer(Http::IHttpExchange& exchange) const;
    [[nodiscard]] bool CanReadUsers() const;

    const System::Acf::ComponentManager& components;
    const Modules::ModuleSupervisor& modules;
    const Modules::ModuleRegistry& registry;
    const System::Um::UserManager& users;
    Http::RequestStrand& strand;
    /// What has been logged. Guarded by the strand.
    mutable bool couldReadUsers = true;
};

} // namespace Oxa::Host::Status
