#pragma once

#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <memory>

namespace Oxa::System::Acf
{
class ComponentManager;
}

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host
{
class StaticFiles;
}

namespace Oxa::Host::Audit
{
class AuditTrail;
}

namespace Oxa::Host::Modules
{
class ModuleRegistry;
class ModuleSupervisor;
} // namespace Oxa::Host::Modules

namespace Oxa::Host::Api
{

/// Sends the responses about the state of the server and of the device: modules, pages, boot id, health, readiness.
/// Threads: the event loop's.
class SystemRoutes final : private System::Commons::Diagnostics::Logging::Loggable<SystemRoutes>
{
public:
    using Exchange = std::shared_ptr<Http::IHttpExchange>;

    /// Everything is borrowed.
    struct Parts
    {
        const Modules::ModuleRegistry& registry;
        const Modules::ModuleSupervisor& modules;
        const System::Acf::ComponentManager& components;
        const System::Um::UserManager& users;
        const Audit::AuditTrail& auditTrail;
        const StaticFiles& files;
    };

    explicit SystemRoutes(const Parts& parts);

    [[nodiscard]] static Http::Handling HandleHealth(const Exchange& exchange);
    /// Without a log-in, so that a page can tell a restart from a short outage.
    [[nodiscard]] static Http::Handling HandleBootId(const Exchange& exchange);
    [[nodiscard]] static Http::Handling HandleNotice(const Exchange& exchange, const BasicString& notice);
    [[nodiscard]] Http::Handling HandlePages(const Exchange& exchange, System::Um::SecurityToken securityToken) const;
    /// Calls no module.
    [[nodiscard]] Http::Handling HandleModules(const Exchange& exchange) const;
    [[nodiscard]] Http::Handling HandleReadiness(const Exchange& exchange) const;

private:
    void SendPages(Http::IHttpExchange& exchange, System::Um::SecurityToken securityToken) const;
    void SendReadiness(Http::IHttpExchange& exchange) const;
    [[nodiscard]] bool CanReadUsers() const;

    const Parts parts;
    // One for each route that calls modules: a module that hangs delays that route only.
    const std::shared_ptr<Http::RequestStrand> pagesStrand;
    const std::shared_ptr<Http::RequestStrand> readinessStrand;
    /// What has been logged. Guarded by the readiness strand.
    mutable bool couldReadUsers = true;
};

} // namespace Oxa::Host::Api
