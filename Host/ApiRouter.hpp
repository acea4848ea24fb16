#pragma once

#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <memory>
#include <string_view>

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

namespace Modules
{
class Dispatcher;
class ModuleRegistry;
class ModuleSupervisor;
} // namespace Modules

namespace Sessions
{
class SessionManager;
class SessionRoute;
} // namespace Sessions

/// Finds by the path which route a request belongs to, and by the session who sent it, and sends the responses of the
/// routes that only read: pages, boot id, health, readiness. Threads: the event loop's.
class ApiRouter final : private System::Commons::Diagnostics::Logging::Loggable<ApiRouter>
{
public:
    using Exchange = std::shared_ptr<Http::IHttpExchange>;

    /// Everything is borrowed.
    struct Parts
    {
        Sessions::SessionManager& sessions;
        Sessions::SessionRoute& sessionRoute;
        const Modules::Dispatcher& dispatcher;
        const Modules::ModuleRegistry& registry;
        const Modules::ModuleSupervisor& modules;
        const System::Acf::ComponentManager& components;
        const System::Um::UserManager& users;
    };

    explicit ApiRouter(const Parts& parts);

    [[nodiscard]] Http::Handling Handle(const Exchange& exchange) const;

private:
    [[nodiscard]] Http::Handling HandleProvider(const Exchange& exchange, std::string_view path) const;
    [[nodiscard]] Http::Handling HandlePages(const Exchange& exchange) const;
    [[nodiscard]] Http::Handling HandleReadiness(const Exchange& exchange) const;
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

} // namespace Oxa::Host
