#include "Host/Modules/Dispatcher.hpp"

#include "Host/Http/IHttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

#include <utility>

namespace Oxa::Host::Modules
{

using Http::Handling;
using Http::HttpMethod;
using Http::HttpRequest;
using Http::IHttpExchange;
using Services::Commons::Wbm::RequestParams;
using Services::Commons::Wbm::RequestQuery;
using Services::Commons::Wbm::WbmRequest;
using Services::Commons::Wbm::WbmResponse;
using System::Nm::NotificationKind;

namespace
{

bool IsRead(HttpMethod method) noexcept
{
    return method == HttpMethod::Get || method == HttpMethod::Head;
}

bool IsAllowed(HttpMethod method, const DataProvider& provider) noexcept
{
    return method == HttpMethod::Post || (provider.isSafe && IsRead(method));
}

/// Publishes how a command went, also when it ends with an exception.
class CommandReport final
{
public:
    CommandReport(System::Nm::NotificationManager& notifications, const ProviderRequest& request)
        : notifications(notifications), request(request)
    {
    }

    CommandReport(const CommandReport&) = delete;
    CommandReport& operator=(const CommandReport&) = delete;

    ~CommandReport()
    {
        notifications.Publish({{},
                               kind,
                               "Host.Modules",
                               request.userName,
                               request.requestName,
                               {{"dataProvider", request.providerName}}});
    }

    void SetKind(NotificationKind newKind) noexcept
    {
        kind = newKind;
    }

private:
    System::Nm::NotificationManager& notifications;
    const ProviderRequest& request;
    NotificationKind kind = NotificationKind::CommandFailed;
};

} // namespace

Dispatcher::Dispatcher(ModuleRegistry& registry, System::Nm::NotificationManager& notifications)
    : registry(registry), notifications(notifications)
{
}

Handling Dispatcher::Handle(const std::shared_ptr<IHttpExchange>& exchange, ProviderRequest request) const
{
    const auto provider = registry.FindDataProvider(request.providerName);
    if (!provider)
    {
        const bool isMissing = registry.IsExpected(request.providerName);
        Http::SendProblem(*exchange, isMissing ? Http::Problems::notAvailable : Http::Problems::unknownDataProvider);
        return Handling::Answered;
    }
    if (!IsAllowed(exchange->GetRequest().method, *provider))
    {
        Http::SendMethodNotAllowed(*exchange, provider->isSafe ? "GET, HEAD, POST" : "POST");
        return Handling::Answered;
    }
    return provider->strand->Run(exchange, [this, provider, request = std::move(request)](IHttpExchange& each)
                                 { Answer(each, *provider, request); });
}

void Dispatcher::Answer(IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request) const
{
    if (const Http::Problem* const obstacle = FindObstacle(provider, request))
    {
        if (!provider.isSafe && obstacle->status == 403)
        {
            CommandReport(notifications, request).SetKind(NotificationKind::CommandRefused);
        }
        Http::SendProblem(exchange, *obstacle);
        return;
    }
    if (provider.isSafe)
    {
        Forward(exchange, provider, request);
        return;
    }
    CommandReport report(notifications, request);
    Forward(exchange, provider, request);
    report.SetKind(NotificationKind::CommandExecuted);
}

/// Null: the module may be asked.
const Http::Problem* Dispatcher::FindObstacle(const DataProvider& provider, const ProviderRequest& request)
{
    if (!provider.handler->IsAvailable())
    {
        return &Http::Problems::notAvailable;
    }
    if (!provider.handler->HasPermissions(request.securityToken))
    {
        return &Http::Problems::noPermission;
    }
    return provider.handler->HandlesRequest(request.requestName) ? nullptr : &Http::Problems::unknownRequest;
}

void Dispatcher::Forward(IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request)
{
    const HttpRequest& http = exchange.GetRequest();
    const WbmRequest wbmRequest(request.requestName,
                                RequestParams(RequestQuery(BasicString(http.query)), BasicString(http.body)),
                                request.securityToken);
    const WbmResponse response = provider.handler->HandleRequest(wbmRequest);
    exchange.Send({200, response.GetHeader().GetMediaType(), {}}, response.GetBody());
}

} // namespace Oxa::Host::Modules
