#include "Host/ApiRouter.hpp"

#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Modules/ModuleSupervisor.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Sessions/SessionRoute.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/System/Acf/ComponentManager.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <iterator>
#include <utility>
#include <vector>

namespace Oxa::Host
{

using Device::Interface::Services::DeviceStatusServiceProxyFactory;
using Http::Handling;
using Services::Commons::Wbm::Modules::VisibilityAttribute;
using System::Commons::Json::JsonWriter;
using System::Commons::Text::Format;

namespace
{

Handling SendHealth(Http::IHttpExchange& exchange)
{
    exchange.Send({200, Http::jsonMediaType, R"({"status":"ok"})"});
    return Handling::Completed;
}

/// Without a log-in, so that a page can tell a restart from a short outage.
Handling SendBootId(Http::IHttpExchange& exchange)
{
    const char* const providerName = DeviceStatusServiceProxyFactory::GetInstance().GetServiceProviderName();
    const BasicString bootId = System::Rsc::ServiceManager::GetRun(providerName).bootId;
    if (bootId.empty())
    {
        return SendProblem(exchange, Http::Problems::serviceNotAvailable);
    }
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("bootId", bootId);
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

/// `Disabled` for a page whose module must not be called now.
VisibilityAttribute GetVisibility(const Modules::Page& page, const System::Um::SecurityToken& securityToken)
{
    const Modules::ModuleGate::Visit visit(*page.gate);
    return visit && !page.isWithdrawn ? page.handler->GetVisibilityAttribute(securityToken)
                                      : VisibilityAttribute::Disabled;
}

const char* GetVisibilityName(VisibilityAttribute visibility) noexcept
{
    switch (visibility)
    {
    case VisibilityAttribute::Visible:
        return "visible";
    case VisibilityAttribute::Disabled:
        return "disabled";
    default:
        return "hidden";
    }
}

/// For clients without a log-in: names and times only.
BasicString DescribeSetup(const char* kind, const BasicString& name, std::chrono::steady_clock::time_point begin)
{
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin).count();
    return Format("the {0} '{1}' is being set up since {2} s", kind, name, seconds);
}

} // namespace

ApiRouter::ApiRouter(const Parts& parts)
    : parts(parts),
      pagesStrand(parts.registry.MakeStrand("the pages")),
      readinessStrand(parts.registry.MakeStrand("the readiness"))
{
}

Handling ApiRouter::Handle(const Exchange& exchange) const
{
    using ReadRoute = Handling (*)(const ApiRouter&, const Exchange&);
    constexpr std::string_view apiPrefix = "/api/v1/";
    // No data provider can have one of the names of the routes below the prefix.
    static constexpr std::pair<std::string_view, ReadRoute> readRoutes[] = {
        {"/api/v1/pages",
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
        {"/readyz", [](const ApiRouter& router, const Exchange& each)
         {
             return router.HandleReadiness(each);
         }}};
    const Http::HttpRequest& request = exchange->GetRequest();
    const std::string_view path = request.path;
    if (path.starts_with(apiPrefix) && path.find('/', apiPrefix.size()) != std::string_view::npos)
    {
        return HandleProvider(exchange, path.substr(apiPrefix.size()));
    }
    if (path == "/api/v1/session")
    {
        return parts.sessionRoute.Handle(exchange);
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
    auto caller = parts.sessions.Authenticate(exchange->GetRequest());
    if (!caller)
    {
        return SendProblem(*exchange, Http::Problems::noSession);
    }
    if (caller->mayBeForged)
    {
        return parts.sessions.RefuseCrossOrigin(*exchange, caller->userName);
    }
    const std::string_view providerName = Http::TakeUntil(path, '/');
    return parts.dispatcher.Handle(
        exchange, {BasicString(providerName), BasicString(path), caller->securityToken, std::move(caller->userName)});
}

Handling ApiRouter::HandlePages(const Exchange& exchange) const
{
    const auto caller = parts.sessions.Authenticate(exchange->GetRequest());
    if (!caller)
    {
        return SendProblem(*exchange, Http::Problems::noSession);
    }
    return pagesStrand->Run(exchange, [this, securityToken = caller->securityToken](Http::IHttpExchange& each)
                            { SendPages(each, securityToken); });
}

void ApiRouter::SendPages(Http::IHttpExchange& exchange, System::Um::SecurityToken securityToken) const
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("pages");
    for (const auto& page : parts.registry.GetPages())
    {
        writer.TryWriteStartComplexArrayItem();
        writer.WriteValue("dataName", page->info.GetDataName());
        writer.WriteValue("pageName", page->info.GetPageName());
        writer.WriteValue("parentPageName", page->info.GetParentPageName());
        writer.WriteValue("visibility", GetVisibilityName(GetVisibility(*page, securityToken)));
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
    writer.WriteSimpleArray("languages", parts.registry.GetSupportedLanguages());
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
}

Handling ApiRouter::HandleReadiness(const Exchange& exchange) const
{
    return readinessStrand->Run(exchange, [this](Http::IHttpExchange& each) { SendReadiness(each); });
}

void ApiRouter::SendReadiness(Http::IHttpExchange& exchange) const
{
    std::vector<BasicString> causes;
    std::vector<BasicString> failedComponents;
    for (const auto& failure : parts.components.GetFailures())
    {
        failedComponents.push_back(failure.name);
    }
    if (const auto activity = parts.components.GetActivity())
    {
        failedComponents.push_back(activity->componentName);
        causes.push_back(DescribeSetup("component", activity->componentName, activity->begin));
    }
    std::vector<BasicString> failedModules;
    for (const auto& module : parts.modules.GetStates())
    {
        if (module.hasFailed || module.setupBegin)
        {
            failedModules.push_back(module.name);
        }
        if (module.setupBegin)
        {
            causes.push_back(DescribeSetup("module", module.name, *module.setupBegin));
        }
    }
    if (!CanReadUsers())
    {
        causes.emplace_back("the users cannot be read");
    }
    const std::vector<BasicString> dataProviders = parts.registry.FindUnavailableDataProviders();
    for (const auto& request : parts.registry.FindHangingRequests())
    {
        causes.push_back(Format("the request '{0}' has lasted {1} s", request.path, request.duration.count()));
    }
    if (failedComponents.empty() && failedModules.empty() && dataProviders.empty() && causes.empty())
    {
        exchange.Send({200, Http::jsonMediaType, R"({"status":"ready"})"});
        return;
    }
    JsonWriter writer;
    writer.WriteStartObject();
    Http::WriteProblemMembers(writer, Http::Problems::notReady);
    writer.WriteSimpleArray("components", failedComponents);
    writer.WriteSimpleArray("modules", failedModules);
    writer.WriteSimpleArray("dataProviders", dataProviders);
    writer.WriteSimpleArray("causes", causes);
    writer.WriteEndObject();
    exchange.Send({503, Http::problemMediaType, writer.GetText(), Http::retryAfterField});
}

/// Logs it when that changes.
bool ApiRouter::CanReadUsers() const
{
    try
    {
        (void)parts.users.GetUsers();
        couldReadUsers = true;
    }
    catch (const std::exception& exception)
    {
        if (std::exchange(couldReadUsers, false))
        {
            Log(System::Commons::Diagnostics::Logging::LogLevel::Error, "the users cannot be read: {0}",
                exception.what());
        }
    }
    return couldReadUsers;
}

} // namespace Oxa::Host
