#pragma once

#include "Host/Http/HttpExchange.hpp"

#include <memory>
#include <string_view>

namespace Oxa::Host
{

namespace Modules
{
class Dispatcher;
class PagesRoute;
} // namespace Modules

namespace Sessions
{
class SessionManager;
class SessionRoute;
} // namespace Sessions

namespace Status
{
class ReadinessRoute;
} // namespace Status

/// Finds out by the path who answers a request, and by the session who asks. Threads: the event loop's.
class ApiRouter final
{
public:
    /// Everything is borrowed.
    struct Routes
    {
        Sessions::SessionManager& sessions;
        Sessions::SessionRoute& session;
        const Modules::Dispatcher& dispatcher;
        const Modules::PagesRoute& pages;
        const Status::ReadinessRoute& readiness;
    };

    explicit ApiRouter(const Routes& routes);

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange);

private:
    using Exchange = std::shared_ptr<Http::IHttpExchange>;

    [[nodiscard]] Http::Handling HandleApi(const Exchange& exchange, std::string_view path);
    [[nodiscard]] Http::Handling HandleProvider(const Exchange& exchange, std::string_view path);
    [[nodiscard]] Http::Handling HandlePages(const Exchange& exchange);
    template <class Route>
    [[nodiscard]] static Http::Handling HandleRead(const Exchange& exchange, const Route& route);

    Routes routes;
};

} // namespace Oxa::Host
