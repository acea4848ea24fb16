#pragma once

#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>

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

namespace Oxa::Host::Routes
{

/// Sends that the server runs. Threads: safe from any thread.
Http::Handling SendHealth(Http::IHttpExchange& exchange);

/// Sends the boot id of the run that the device services belong to, without a log-in, so that a page can tell a restart
/// from a short outage. Threads: safe from any thread.
Http::Handling SendBootId(Http::IHttpExchange& exchange);

/// Sends whether everything that is configured is up, and else what is missing or hangs, by name. Threads: the event
/// loop's.
class ReadinessRoute final : private System::Commons::Diagnostics::Logging::Loggable<ReadinessRoute>
{
public:
    /// Everything is borrowed.
    ReadinessRoute(const System::Acf::ComponentManager& components, const Modules::ModuleSupervisor& modules,
                   const Modules::ModuleRegistry& registry, const System::Um::UserManager& users);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const;

private:
    void Send(Http::IHttpExchange& exchange) const;
    [[nodiscard]] bool CanReadUsers() const;

    const System::Acf::ComponentManager& components;
    const Modules::ModuleSupervisor& modules;
    const Modules::ModuleRegistry& registry;
    const System::Um::UserManager& users;
    /// A module that hangs delays this route only.
    const std::shared_ptr<Http::RequestStrand> strand;
    /// What has been logged. Guarded by the strand.
    mutable bool couldReadUsers = true;
};

} // namespace Oxa::Host::Routes
