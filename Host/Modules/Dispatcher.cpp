#include "Host/Modules/Dispatcher.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string_view>
#include <utility>

namespace Oxa::Host::Modules
{

using Http::Handling;
using Http::HttpMethod;
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

/// Clients choose the texts.
constexpr std::size_t maximumLoggedBytes = 64;
/// The audit trail admits one failure a minute at least.
constexpr std::chrono::seconds longestFailureWait{60};

/// The error code of a response in the modules' envelope; empty also for a response of another form.
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
        // Not the envelope.
    }
    return {};
}

/// The outcome of a command, by the error code of the module's response. "timed out" means that the module did not wait
/// for the end of the command.
std::string_view GetOutcome(std::string_view errorCode) noexcept
{
    return errorCode.empty() ? "success" : errorCode == "timed out" ? "unknown" : "failure";
}

bool IsAllowed(HttpMethod method, const DataProvider& provider) noexcept
{
    return method == HttpMethod::Post || (provider.manifest.isSafe && Http::IsRead(method));
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

/// Calls the function when the request is one that needs the password again.
bool IsConfirmed(const DataProvider& provider, const ProviderRequest& request, const std::function<bool()>& check)
{
    return !provider.manifest.confirmedRequests.contains(request.requestName) || (check && check());
}

/// Null when the module takes this request of this user. Requires: a visit.
const Http::Problem* FindObstacle(const DataProvider& provider, const ProviderRequest& request)
{
    if (!provider.handler->IsAvailable())
    {
        return &Http::Problems::notAvailable;
    }
    if (!provider.handler->HasPermissions(request.securityToken))
    {
        return &Http::Problems::noPermission;
    }
    if (!provider.handler->HandlesRequest(request.requestName))
    {
        return &Http::Problems::unknownRequest;
    }
    return IsConfirmed(provider, request, request.hasConfirmation) ? nullptr : &Http::Problems::confirmationNeeded;
}

WbmResponse HandleRequest(const IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request)
{
    const Http::HttpRequest& http = exchange.GetRequest();
    return provider.handler->HandleRequest(
        WbmRequest(request.requestName, RequestParams(RequestQuery(BasicString(http.query)), BasicString(http.body)),
                   request.securityToken));
}

} // namespace

Dispatcher::Dispatcher(ModuleRegistry& registry, System::Nm::NotificationManager& notifications, AuditState audit)
    : registry(registry), notifications(notifications), audit(std::move(audit))
{
}

Handling Dispatcher::Handle(const std::shared_ptr<IHttpExchange>& exchange, ProviderRequest request) const
{
    const auto provider = registry.FindDataProvider(request.providerName);
    if (!provider)
    {
        const bool isMissing = registry.IsExpected(request.providerName);
        return SendProblem(*exchange, isMissing ? Http::Problems::notAvailable : Http::Problems::unknownDataProvider);
    }
    if (!IsAllowed(exchange->GetRequest().method, *provider))
    {
        return Http::SendMethodNotAllowed(*exchange, provider->manifest.isSafe ? "GET, HEAD, POST" : "POST");
    }
    if (const Http::Problem* const absence = FindAbsence(*provider))
    {
        return SendProblem(*exchange, *absence);
    }
    return provider->strand->Run(exchange, [this, provider, request = std::move(request)](IHttpExchange& each)
                                 { Call(each, *provider, request); });
}

void Dispatcher::Call(IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request) const
{
    const ModuleGate::Visit visit(*provider.gate);
    if (!visit)
    {
        SendProblem(exchange, Http::Problems::serviceNotAvailable);
        return;
    }
    const Http::Problem* obstacle = FindObstacle(provider, request);
    if (obstacle == nullptr && !provider.manifest.isSafe)
    {
        obstacle = Announce(exchange, request);
    }
    // Last, since it is good for one command: what is refused for another reason does not spend it.
    if (obstacle == nullptr && !IsConfirmed(provider, request, request.takeConfirmation))
    {
        obstacle = &Http::Problems::confirmationNeeded;
    }
    if (obstacle != nullptr)
    {
        Refuse(exchange, provider, request, *obstacle);
        return;
    }
    const WbmResponse response =
        provider.manifest.isSafe ? HandleRequest(exchange, provider, request) : Execute(exchange, provider, request);
    // Values of two runs may be mixed in a read; the response to a command tells what was done.
    if (provider.manifest.isSafe && !visit.IsStillCurrent())
    {
        SendProblem(exchange, Http::Problems::serviceNotAvailable);
        return;
    }
    exchange.Send({200, response.GetHeader().GetMediaType(), response.GetBody()});
}

/// Null: the command leaves a trace, even if the host ends before the outcome is stored.
const Http::Problem* Dispatcher::Announce(IHttpExchange& exchange, const ProviderRequest& request) const
{
    if (!audit.isWritable())
    {
        return &Http::Problems::auditNotWritable;
    }
    if (!audit.admitsFailureOf(request.userName))
    {
        return &Http::Problems::tooManyFailedCommands;
    }
    Publish(NotificationKind::CommandRequested, exchange, request, {});
    return audit.isWritable() ? nullptr : &Http::Problems::auditNotWritable;
}

void Dispatcher::Refuse(IHttpExchange& exchange, const DataProvider& provider, const ProviderRequest& request,
                        const Http::Problem& problem) const
{
    const bool isTooMany = problem.status == 429;
    if (!provider.manifest.isSafe &&
        (problem.status == 403 || isTooMany || &problem == &Http::Problems::auditNotWritable))
    {
        Publish(NotificationKind::CommandRefused, exchange, request, {{"errorCode", BasicString(problem.code)}});
    }
    if (isTooMany)
    {
        SendProblem(exchange, problem, longestFailureWait);
        return;
    }
    SendProblem(exchange, problem);
}

/// Publishes the outcome: also when the module's response is an error, or the module throws.
WbmResponse Dispatcher::Execute(IHttpExchange& exchange, const DataProvider& provider,
                                const ProviderRequest& request) const
{
    try
    {
        WbmResponse response = HandleRequest(exchange, provider, request);
        const BasicString errorCode = FindErrorCode(response.GetBody());
        Publish(errorCode.empty() ? NotificationKind::CommandExecuted : NotificationKind::CommandFailed, exchange,
                request, {{"outcome", BasicString(GetOutcome(errorCode))}, {"errorCode", errorCode}});
        return response;
    }
    catch (const RscServiceException& exception)
    {
        const bool mayBeDone =
            exception.GetFault() != RscFault::NotAvailable && exception.GetFault() != RscFault::Refused;
        Publish(NotificationKind::CommandFailed, exchange, request,
                {{"outcome", mayBeDone ? "unknown" : "failure"}, {"cause", "no-service"}});
        throw;
    }
    catch (...)
    {
        Publish(NotificationKind::CommandFailed, exchange, request, {{"outcome", "failure"}, {"cause", "exception"}});
        throw;
    }
}

void Dispatcher::Publish(NotificationKind kind, IHttpExchange& exchange, const ProviderRequest& request,
                         Fields details) const
{
    Fields fields = {{"dataProvider", request.providerName}, {"address", exchange.GetClientAddress()}};
    std::ranges::move(details, std::back_inserter(fields));
    fields.emplace_back("requestId", exchange.GetRequestId());
    const BasicString text(Text::Truncate(request.requestName, maximumLoggedBytes));
    notifications.Publish({{}, kind, "Host.Modules", request.userName, text, std::move(fields)});
}

} // namespace Oxa::Host::Modules
