#include "Host/Routes/ApiRouter.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Routes/PagesRoute.hpp"
#include "Host/Routes/StatusRoutes.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Sessions/SessionRoute.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Oxa::Host::Routes
{

using Http::Handling;

ApiRouter::ApiRouter(Sessions::SessionManager& sessions, Sessions::SessionRoute& session,
                     const Modules::Dispatcher& dispatcher, const PagesRoute& pages, const ReadinessRoute& readiness)
    : sessions(sessions), session(session), dispatcher(dispatcher), pages(pages), readiness(readiness)
{
}

Handling ApiRouter::Handle(const Exchange& exchange) const
{
    using ReadRoute = Handling (*)(const ApiRouter&, const Exchange&);
    constexpr std::string_view apiPrefix = "/api/v1/";
    // No data provider can have one of the names of the routes below the prefix.
    constexpr std::pair<std::string_view, ReadRoute> readRoutes[] = {{"/api/v1/pages",
                                                                      [](const ApiRouter& router, const Exchange& each)
                                                                      {
                                                                          return router.HandlePages(each);
                                                                      }},
                                                                     {"/api/v1/boot",
                                                                      [](const ApiRouter&, const Exchange& each)
                                                                      {
                                                                          return SendBootId(*each);
                                                                      }},
                                                                     {"/healthz",
                                                                      [](const ApiRouter&, const Exchange& each)
                                                                      {
                                                                          return SendHealth(*each);
                                                                      }},
                                                                     {"/readyz",
                                                                      [](const ApiRouter& router, const Exchange& each)
                                                                      {
                                                                          return router.readiness.Handle(each);
                                                                      }}};
    const Http::HttpRequest& request = exchange->GetRequest();
    const std::string_view path = request.path;
    if (path.starts_with(apiPrefix) && path.find('/', apiPrefix.size()) != std::string_view::npos)
    {
        return HandleProvider(exchange, path.substr(apiPrefix.size()));
    }
    if (path == "/api/v1/session")
    {
        return session.Handle(exchange);
    }
    if (path == "*")
    {
        exchange->Send({.status = 204, .fields = "Allow: GET, HEAD, POST, DELETE\r\n"});
        return Handling::Completed;
    }
    const auto* const route = std::ranges::find(readRoutes, path, &std::pair<std::string_view, ReadRoute>::first);
    if (route == std::end(readRoutes))
    {
        return SendProblem(*exchange, Http::Problems::unknownPath);
    }
    return Http::IsRead(request.method) ? route->second(*this, exchange)
                                        : Http::SendMethodNotAllowed(*exchange, "GET, HEAD");
}

/// `path`: the data provider's name and the request's.
Handling ApiRouter::HandleProvider(const Exchange& exchange, std::string_view path) const
{
    auto caller = sessions.Authenticate(exchange->GetRequest());
    if (!caller)
    {
        return SendProblem(*exchange, Http::Problems::noSession);
    }
    if (caller->mayBeForged)
    {
        return sessions.RefuseCrossOrigin(*exchange, caller->userName);
    }
    const std::string_view providerName = Http::TakeUntil(path, '/');
    return dispatcher.Handle(
        exchange, {BasicString(providerName), BasicString(path), caller->securityToken, std::move(caller->userName)});
}

Handling ApiRouter::HandlePages(const Exchange& exchange) const
{
    const auto caller = sessions.Authenticate(exchange->GetRequest());
    return caller ? pages.Handle(exchange, caller->securityToken) : SendProblem(*exchange, Http::Problems::noSession);
}

} // namespace Oxa::Host::Routes
