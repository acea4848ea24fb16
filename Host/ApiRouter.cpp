#include "Host/ApiRouter.hpp"

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Modules/PagesRoute.hpp"
#include "Host/RouteNames.hpp"
#include "Host/Sessions/RequestOrigin.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Sessions/SessionRoute.hpp"
#include "Host/Status/BootRoute.hpp"
#include "Host/Status/ReadinessRoute.hpp"

#include <utility>

namespace Oxa::Host
{

using Http::Handling;

namespace
{

Handling AnswerProblem(Http::IHttpExchange& exchange, const Http::Problem& problem)
{
    Http::SendProblem(exchange, problem);
    return Handling::Completed;
}

} // namespace

ApiRouter::ApiRouter(const Routes& routes) : routes(routes) {}

Handling ApiRouter::Handle(const Exchange& exchange)
{
    constexpr std::string_view apiPrefix = "/api/v1/";
    const std::string_view path = exchange->GetRequest().path;
    if (path.starts_with(apiPrefix))
    {
        return HandleApi(exchange, path.substr(apiPrefix.size()));
    }
    if (path == "/healthz")
    {
        return HandleRead(exchange,
                          [](const Exchange& each)
                          {
                              each->Send({200, Http::jsonMediaType, R"({"status":"ok"})"});
                              return Handling::Completed;
                          });
    }
    if (path == "/readyz")
    {
        return HandleRead(exchange, [this](const Exchange& each) { return routes.readiness.Handle(each); });
    }
    if (path == "*")
    {
        exchange->Send({.status = 204, .fields = "Allow: GET, HEAD, POST, DELETE\r\n"});
        return Handling::Completed;
    }
    return AnswerProblem(*exchange, Http::Problems::unknownPath);
}

Handling ApiRouter::HandleApi(const Exchange& exchange, std::string_view path)
{
    if (path.find('/') != std::string_view::npos)
    {
        return HandleProvider(exchange, path);
    }
    if (path == RouteNames::session)
    {
        return routes.session.Handle(exchange);
    }
    if (path == RouteNames::pages)
    {
        return HandleRead(exchange, [this](const Exchange& each) { return HandlePages(each); });
    }
    if (path == RouteNames::boot)
    {
        return HandleRead(exchange,
                          [](const Exchange& each)
                          {
                              Status::AnswerBootId(*each);
                              return Handling::Completed;
                          });
    }
    return AnswerProblem(*exchange, Http::Problems::unknownPath);
}

Handling ApiRouter::HandleProvider(const Exchange& exchange, std::string_view path)
{
    const Http::HttpRequest& request = exchange->GetRequest();
    auto caller = routes.sessions.Authenticate(request);
    if (!caller)
    {
        return AnswerProblem(*exchange, Http::Problems::noSession);
    }
    if (caller->isByCookie && !Http::IsRead(request.method) && Sessions::IsForeign(request))
    {
        routes.sessions.ReportCrossOrigin(*exchange, caller->userName);
        return AnswerProblem(*exchange, Http::Problems::crossOrigin);
    }
    const std::size_t slash = path.find('/');
    return routes.dispatcher.Handle(exchange, {BasicString(path.substr(0, slash)), BasicString(path.substr(slash + 1)),
                                               caller->securityToken, std::move(caller->userName)});
}

Handling ApiRouter::HandlePages(const Exchange& exchange)
{
    const auto caller = routes.sessions.Authenticate(exchange->GetRequest());
    return caller ? routes.pages.Handle(exchange, caller->securityToken)
                  : AnswerProblem(*exchange, Http::Problems::noSession);
}

template <class Route>
Handling ApiRouter::HandleRead(const Exchange& exchange, const Route& route)
{
    if (!Http::IsRead(exchange->GetRequest().method))
    {
        Http::SendMethodNotAllowed(*exchange, "GET, HEAD");
        return Handling::Completed;
    }
    return route(exchange);
}

} // namespace Oxa::Host
