#include "Host/Api/ApiRouter.hpp"

#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Modules/Dispatcher.hpp"
#include "Host/Sessions/PasswordWorker.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

namespace Oxa::Host::Api
{

using Http::Handling;
using Http::HttpMethod;
using Exchange = std::shared_ptr<Http::IHttpExchange>;

namespace
{

constexpr std::string_view apiPrefix = "/api/v1/";
constexpr std::string_view administratorRole = "Admin";

/// Clients choose the texts.
constexpr std::size_t maximumLoggedBytes = 128;

/// In the order of the enumeration.
constexpr std::string_view methodNames[] = {"GET", "HEAD", "POST", "PATCH", "DELETE"};

std::string_view GetName(HttpMethod method) noexcept
{
    return methodNames[static_cast<std::size_t>(method)];
}

HttpMethod WithoutHead(HttpMethod method) noexcept
{
    return method == HttpMethod::Head ? HttpMethod::Get : method;
}

bool IsPathOf(const OperationInfo& info, std::string_view path) noexcept
{
    return info.hasArgument ? path.size() > info.path.size() && path.starts_with(info.path) &&
                                  path.find('/', info.path.size()) == std::string_view::npos
                            : path == info.path;
}

/// Of users or tokens.
bool IsChange(const OperationInfo& info) noexcept
{
    return info.access == Access::Admin && !Http::IsRead(info.method);
}

struct Match
{
    /// Null: the path allows other methods.
    const OperationInfo* operation = nullptr;
    bool isKnownPath = false;
};

Match Find(std::string_view path, HttpMethod method) noexcept
{
    Match match;
    for (const OperationInfo& info : operations)
    {
        if (IsPathOf(info, path))
        {
            match.isKnownPath = true;
            if (info.method == WithoutHead(method))
            {
                match.operation = &info;
                return match;
            }
        }
    }
    return match;
}

/// Of the operations for which the predicate is true, in the order of the enumeration.
template <class Predicate>
BasicString ListMethods(Predicate isMeant)
{
    BasicString names;
    for (std::size_t index = 0; index < std::size(methodNames); ++index)
    {
        const HttpMethod method = WithoutHead(static_cast<HttpMethod>(index));
        if (std::ranges::any_of(operations,
                                [&](const OperationInfo& info) { return info.method == method && isMeant(info); }))
        {
            names.append(names.empty() ? "" : ", ").append(methodNames[index]);
        }
    }
    return names;
}

/// Empty: the text is no encoding of UTF-8, so no object has such a name. Requires: ASCII, as every target is.
std::optional<BasicString> DecodeSegment(std::string_view text)
{
    constexpr std::string_view hexDigits = "0123456789ABCDEFabcdef";
    std::size_t percent = text.find('%');
    if (percent == std::string_view::npos)
    {
        return BasicString(text);
    }
    for (; percent != std::string_view::npos; percent = text.find('%', percent + 1))
    {
        const std::string_view digits = text.substr(percent + 1, 2);
        if (digits.size() != 2 || digits.find_first_not_of(hexDigits) != std::string_view::npos)
        {
            return std::nullopt;
        }
    }
    BasicString decoded = Services::Commons::Wbm::RequestQuery(BasicString(text)).GetQueryString(true);
    return System::Commons::Text::IsValidUtf8(decoded) ? std::optional(std::move(decoded)) : std::nullopt;
}

bool HasJsonBody(const Http::HttpRequest& request)
{
    const std::string_view type = request.contentType.substr(0, request.contentType.find(';'));
    return Http::AreEqual(Http::Trim(type), "application/json");
}

} // namespace

ApiRouter::ApiRouter(Parts parts) : parts(std::move(parts)) {}

void ApiRouter::Set(Operation operation, ApiHandler handler)
{
    ApiHandler& place = handlers.at(static_cast<std::size_t>(operation));
    assert(!place);
    place = std::move(handler);
}

Handling ApiRouter::Handle(const Exchange& exchange)
{
    const Http::HttpRequest& request = exchange->GetRequest();
    const std::string_view path = request.path;
    const Match match = Find(path, request.method);
    if (match.operation != nullptr)
    {
        return HandleOperation(exchange, *match.operation, path.substr(match.operation->path.size()));
    }
    if (match.isKnownPath)
    {
        return Http::SendMethodNotAllowed(
            *exchange, ListMethods([path](const OperationInfo& info) { return IsPathOf(info, path); }));
    }
    if (path.starts_with(apiPrefix) && path.find('/', apiPrefix.size()) != std::string_view::npos)
    {
        return HandleProvider(exchange, path.substr(apiPrefix.size()));
    }
    if (path == "*")
    {
        const BasicString methods = ListMethods([](const OperationInfo& /*info*/) { return true; });
        exchange->Send({.status = 204, .fields = "Allow: " + methods + "\r\n"});
        return Handling::Completed;
    }
    return parts.otherPaths(exchange);
}

Handling ApiRouter::HandleOperation(const Exchange& exchange, const OperationInfo& info,
                                    std::string_view encodedArgument)
{
    auto argument = DecodeSegment(encodedArgument);
    if (!argument)
    {
        return SendProblem(*exchange, Http::Problems::unknownPath);
    }
    std::optional<Sessions::Caller> caller;
    if (info.access != Access::Open)
    {
        caller = AdmitTo(*exchange, info);
        if (!caller)
        {
            return Handling::Completed;
        }
    }
    const Http::HttpRequest& request = exchange->GetRequest();
    if (!caller && !Http::IsRead(request.method) && Sessions::IsCrossOrigin(request))
    {
        return parts.sessions.RefuseCrossOrigin(*exchange, {});
    }
    if (info.hasBody && !HasJsonBody(request))
    {
        return SendProblem(*exchange, Http::Problems::notJson);
    }
    if (!IsChange(info))
    {
        return Call({exchange, caller ? &*caller : nullptr, *std::move(argument)}, info);
    }
    return parts.worker.Post(exchange, 0,
                             [this, exchange, &info, argument = *std::move(argument)](Http::IHttpExchange& each)
                             {
                                 // Others may have changed the sender's rights while the change waited.
                                 if (const auto present = AdmitTo(each, info))
                                 {
                                     (void)Call({exchange, &*present, argument}, info);
                                 }
                             });
}

Handling ApiRouter::Call(const ApiRequest& request, const OperationInfo& info) const
{
    return handlers[static_cast<std::size_t>(info.operation)](request);
}

/// `path`: the data provider's name and the request's.
Handling ApiRouter::HandleProvider(const Exchange& exchange, std::string_view path)
{
    auto caller = Admit(*exchange, Access::Session, false);
    if (!caller)
    {
        return Handling::Completed;
    }
    const std::string_view providerName = Http::TakeUntil(path, '/');
    return parts.dispatcher.Handle(
        exchange, {BasicString(providerName), BasicString(path), caller->securityToken, std::move(caller->userName),
                   [&sessions = parts.sessions, id = caller->sessionId] { return sessions.HasConfirmation(id); },
                   [&sessions = parts.sessions, id = caller->sessionId]
                   {
                       return sessions.TakeConfirmation(id);
                   }});
}

/// Empty: the caller has been refused.
std::optional<Sessions::Caller> ApiRouter::AdmitTo(Http::IHttpExchange& exchange, const OperationInfo& info)
{
    auto caller = Admit(exchange, info.access, info.isBeforePasswordChange);
    if (caller && IsChange(info) && !parts.sessions.IsAuditWritable())
    {
        SendProblem(exchange, Http::Problems::auditNotWritable);
        return std::nullopt;
    }
    return caller;
}

/// Empty: the caller has been refused.
std::optional<Sessions::Caller> ApiRouter::Admit(Http::IHttpExchange& exchange, Access access,
                                                 bool isBeforePasswordChange)
{
    auto caller = parts.sessions.Authenticate(exchange.GetRequest());
    if (!caller)
    {
        SendProblem(exchange, Http::Problems::noSession);
        return std::nullopt;
    }
    exchange.SetSession(caller->securityToken.GetValue());
    if (caller->mayBeForged)
    {
        parts.sessions.RefuseCrossOrigin(exchange, caller->userName);
        return std::nullopt;
    }
    if (caller->mustChangePassword && !isBeforePasswordChange)
    {
        SendProblem(exchange, Http::Problems::passwordChangeNeeded);
        return std::nullopt;
    }
    if (access == Access::Admin && caller->roleName != administratorRole)
    {
        RefuseRights(exchange, caller->userName);
        return std::nullopt;
    }
    return caller;
}

void ApiRouter::RefuseRights(Http::IHttpExchange& exchange, const BasicString& userName)
{
    const Http::HttpRequest& request = exchange.GetRequest();
    const BasicString path(System::Commons::Text::Truncate(request.path, maximumLoggedBytes));
    parts.notifications.Publish({{},
                                 System::Nm::NotificationKind::RightsRefused,
                                 "Host.Api",
                                 userName,
                                 "the user's role does not allow the request",
                                 {{"address", exchange.GetClientAddress()},
                                  {"object", BasicString(GetName(request.method)) + ' ' + path},
                                  {"outcome", "refused"},
                                  {"requestId", BasicString(exchange.GetRequestId())}}});
    SendProblem(exchange, Http::Problems::noPermission);
}

} // namespace Oxa::Host::Api
