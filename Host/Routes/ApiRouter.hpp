#pragma once

#include "Host/Http/HttpExchange.hpp"

#include <memory>
#include <string_view>

namespace Oxa::Host
{

namespace Modules
{
class Dispatcher;
} // namespace Modules

namespace Sessions
{
class SessionManager;
class SessionRoute;
} // namespace Sessions

namespace Routes
{

class PagesRoute;
class ReadinessRoute;

/// Finds by the path which route a request belongs to, and by the session who sent it. Threads: the event loop's.
class ApiRouter final
{
public:
    using Exchange = std::shared_ptr<Http::IHttpExchange>;

    /// Everything is borrowed.
    ApiRouter(Sessions::SessionManager& sessions, Sessions::SessionRoute& session,
              const Modules::Dispatcher& dispatcher, const PagesRoute& pages, const ReadinessRoute& readiness);

    [[nodiscard]] Http::Handling Handle(const Exchange& exchange) const;

private:
    [[nodiscard]] Http::Handling HandleProvider(const Exchange& exchange, std::string_view path) const;
    [[nodiscard]] Http::Handling HandlePages(const Exchange& exchange) const;

    Sessions::SessionManager& sessions;
    Sessions::SessionRoute& session;
    const Modules::Dispatcher& dispatcher;
    const PagesRoute& pages;
    const ReadinessRoute& readiness;
};

} // namespace Routes

} // namespace Oxa::Host
