#include "Host/Modules/Dispatcher.hpp"

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Modules/ModuleGate.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>
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
using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonTokenType;
using System::Nm::NotificationKind;
using System::Rsc::RscFault;
using System::Rsc::RscServiceException;
namespace Text = System::Commons::Text;

namespace
{

/// A log is no place for whatever somebody sends.
constexpr std::size_t maximumLoggedBytes = 64;

/// The error code of an answer in the modules' envelope; empty also for an answer of another form.
BasicString FindErrorCode(std::string_view body)
{
    try
    {
        JsonReader reader(body);
        if (reader.Read() != JsonTokenType::StartObject)
        {
            return {};
        }
        while (reader.Read() == JsonTokenType::PropertyName)
        {
            const bool isErrorCode = reader.GetText() == "errorCode";
            const bool isText = reader.Read() == JsonTokenType::String;
            if (isErrorCode && isText)
            {
                return BasicString(Text::Truncate(reader.GetText(), maximumLoggedBytes));
            }
            reader.Skip();
        }
    }
    catch (const System::Commons::Json::JsonException&)
    {
        // No envelope.
    }
    return {};
}

bool IsAllowed(HttpMethod method, const DataProvider& provider) noexcept
{
    return method == HttpMethod::Post || (provider.isSafe && Http::IsRead(method));
}

/// Null when the module may be called now; outside a visit this can change at any time.
const Http::Problem* FindAbsence(const DataProvider& provider)
{
    if (!provider.gate->IsOpen())
    {
        return &Http::Problems::serviceNotAvailable;
    }
    return provider.isWithdrawn ? &Http::Problems::notAvailable : nullptr;
}

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
        return Handling::Completed;
    }
    if (!IsAllowed(exchange->GetRequest().method, *provider))
    {
        Http::SendMethodNotAllowed(*exchange, provider->isSafe ? "GET, HEAD, POST" : "POST");
        return Handling::Completed;
    }
    if (const Http::Problem* const absence = FindAbsence(*provider))
    {
        Http::SendProblem(*exchange, *absence);
        return Handling::Completed;
    }
    return provider->strand->Run(exchange, [this, provider, request = std::move(request)](IHttpExchange& each)
                                 { Answer(each, *provider, request); });
}

void Dispatcher::Answer(IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request) const
{
    const ModuleGate::Visit visit(*provider.gate);
    if (!visit)
    {
        Http::SendProblem(exchange, Http::Problems::serviceNotAvailable);
        return;
    }
    if (const Http::Problem* const obstacle = FindObstacle(provider, request))
    {
        if (!provider.isSafe && obstacle->status == 403)
        {
            Publish(NotificationKind::CommandRefused, exchange, request, {{"errorCode", BasicString(obstacle->code)}});
        }
        Http::SendProblem(exchange, *obstacle);
        return;
    }
    const WbmResponse response =
        provider.isSafe ? Ask(exchange.GetRequest(), provider, request) : Execute(exchange, provider, request);
    // Values of two runs may be mixed in a read; the response to a command tells what was done.
    if (provider.isSafe && !visit.IsStillCurrent())
    {
        Http::SendProblem(exchange, Http::Problems::serviceNotAvailable);
        return;
    }
    exchange.Send({200, response.GetHeader().GetMediaType(), response.GetBody()});
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

/// Publishes how it went: also when the module's answer is an error, or it ends with an exception.
WbmResponse Dispatcher::Execute(const IHttpExchange& exchange, const DataProvider& provider,
                                const ProviderRequest& request) const
{
    try
    {
        WbmResponse response = Ask(exchange.GetRequest(), provider, request);
        const BasicString errorCode = FindErrorCode(response.GetBody());
        Publish(errorCode.empty() ? NotificationKind::CommandExecuted : NotificationKind::CommandFailed, exchange,
                request, {{"outcome", errorCode.empty() ? "success" : "error"}, {"errorCode", errorCode}});
        return response;
    }
    catch (const RscServiceException& exception)
    {
        const bool mayBeDone =
            exception.GetFault() == RscFault::TimedOut || exception.GetFault() == RscFault::ConnectionLost;
        Publish(NotificationKind::CommandFailed, exchange, request,
                {{"outcome", mayBeDone ? "unknown" : "no-service"}});
        throw;
    }
    catch (...)
    {
        Publish(NotificationKind::CommandFailed, exchange, request, {{"outcome", "exception"}});
        throw;
    }
}

WbmResponse Dispatcher::Ask(const HttpRequest& http, const DataProvider& provider, const ProviderRequest& request)
{
    return provider.handler->HandleRequest(
        WbmRequest(request.requestName, RequestParams(RequestQuery(BasicString(http.query)), BasicString(http.body)),
                   request.securityToken));
}

void Dispatcher::Publish(NotificationKind kind, const IHttpExchange& exchange, const ProviderRequest& request,
                         Fields details) const
{
    Fields fields = {{"dataProvider", request.providerName}, {"address", exchange.GetClientAddress()}};
    std::ranges::move(details, std::back_inserter(fields));
    notifications.Publish({{},
                           kind,
                           "Host.Modules",
                           request.userName,
                           BasicString(Text::Truncate(request.requestName, maximumLoggedBytes)),
                           std::move(fields)});
}

} // namespace Oxa::Host::Modules
