#include "Host/Sessions/PasswordRoute.hpp"

#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/JsonBody.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Http/SecretText.hpp"
#include "Host/Sessions/RouteTexts.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::IHttpExchange;
using Http::SecretText;
using System::Nm::NotificationKind;

namespace
{

constexpr std::string_view GetBrowserCookieName(bool isSecure) noexcept
{
    return isSecure ? "__Host-oxa-browser" : "oxa-browser";
}

SecretText FormatCookies(std::string_view key, std::string_view browserCookie, bool isSecure)
{
    // The longest time that browsers keep cookies, 400 days, which begins anew with each log-in.
    constexpr std::string_view longTime = "; Max-Age=34560000";
    constexpr std::size_t sufficientBytes = 512;
    BasicString fields;
    fields.reserve(sufficientBytes);
    AppendCookie(fields, GetSessionCookieName(isSecure), key, isSecure, {});
    AppendCookie(fields, GetBrowserCookieName(isSecure), browserCookie, isSecure, longTime);
    return SecretText(std::move(fields));
}

} // namespace

PasswordRoute::PasswordRoute(SessionManager& sessions, PasswordWorker& worker, const KnownBrowsers::Key& browserKey,
                             LogInThrottle::Clock clock)
    : sessions(sessions), worker(worker), browsers(browserKey), throttle(sessions.GetConfiguration(), std::move(clock))
{
}

Handling PasswordRoute::LogIn(const Exchange& exchange)
{
    const auto body = Http::ReadBody(exchange->GetRequest(), {{"user"}, {"password"}});
    if (!body->GetFault().empty() ||
        !System::Um::UserManager::MayBeCredentials(body->GetText("user"), body->GetText("password")))
    {
        return SendProblem(*exchange, Http::Problems::invalidCredentials);
    }
    const std::string_view userName = body->GetText("user");
    const auto current = BeginLogIn(*exchange, userName);
    if (current->GetRetryAfter())
    {
        return RefuseTry(*exchange, *current, userName);
    }
    return worker.Post(
        exchange, current->GetRank(),
        [this, body, current](IHttpExchange& each)
        { SendNewSession(each, *current, sessions.LogIn(each, body->GetText("user"), body->GetText("password"))); });
}

Handling PasswordRoute::ChangePassword(const Exchange& exchange, const Caller& caller)
{
    if (caller.isApiToken)
    {
        return SendProblem(*exchange, Http::Problems::notForApiTokens);
    }
    const auto body = Http::ReadBody(exchange->GetRequest(), {{"password"}, {"newPassword"}});
    if (!body->GetFault().empty())
    {
        return SendProblem(*exchange, {400, Http::Problems::invalidBody.code, body->GetFault()});
    }
    const auto current = BeginInSession(caller);
    if (current->GetRetryAfter())
    {
        return RefuseTry(*exchange, *current, caller.userName);
    }
    // The forced change is free: it happens once.
    const auto change = caller.mustChangePassword
                            ? nullptr
                            : std::make_shared<Try>(throttle, LogInThrottle::PasswordChange{caller.userName});
    if (change && change->GetRetryAfter())
    {
        sessions.Publish(NotificationKind::LogInThrottled, *exchange, caller.userName,
                         "too many changes of the password", "refused");
        return SendProblem(*exchange, Http::Problems::tooManyPasswordChanges, *change->GetRetryAfter());
    }
    return worker.Post(exchange, current->GetRank(),
                       [this, body, current, change, caller](IHttpExchange& each)
                       {
                           try
                           {
                               const auto result = sessions.ChangePassword(each, caller, body->GetText("password"),
                                                                           body->GetText("newPassword"));
                               if (change && result.session)
                               {
                                   change->KeepPlaces();
                               }
                               SendNewSession(each, *current, result);
                           }
                           catch (const System::Commons::ArgumentException& exception)
                           {
                               SendProblem(each, {400, Http::Problems::passwordRefused.code, exception.what()});
                           }
                       });
}

Handling PasswordRoute::Confirm(const Exchange& exchange, const Caller& caller)
{
    if (caller.isApiToken)
    {
        return SendProblem(*exchange, Http::Problems::notForApiTokens);
    }
    const auto body = Http::ReadBody(exchange->GetRequest(), {{"password"}});
    if (!body->GetFault().empty())
    {
        return SendProblem(*exchange, {400, Http::Problems::invalidBody.code, body->GetFault()});
    }
    const auto current = BeginInSession(caller);
    if (current->GetRetryAfter())
    {
        return RefuseTry(*exchange, *current, caller.userName);
    }
    return worker.Post(exchange, current->GetRank(),
                       [this, body, current, caller](IHttpExchange& each)
                       {
                           if (sessions.Confirm(each, caller, body->GetText("password")))
                           {
                               each.Send({.status = 204});
                               return;
                           }
                           current->KeepPlaces();
                           SendProblem(each, Http::Problems::wrongPassword);
                       });
}

std::shared_ptr<PasswordRoute::Try> PasswordRoute::BeginLogIn(const IHttpExchange& exchange, std::string_view userName)
{
    const auto cookie = Http::FindCookie(exchange.GetRequest().cookie, GetBrowserCookieName(exchange.IsSecure()));
    const BasicString browser = browsers.FindNumber(cookie, userName);
    return browser.empty()
               ? std::make_shared<Try>(throttle, userName, exchange.GetClientAddress())
               : std::make_shared<Try>(throttle, LogInThrottle::KnownClient{"browser " + browser, userName});
}

std::shared_ptr<PasswordRoute::Try> PasswordRoute::BeginInSession(const Caller& caller)
{
    return std::make_shared<Try>(
        throttle, LogInThrottle::KnownClient{"session " + FormatSessionId(caller.sessionId), caller.userName});
}

Handling PasswordRoute::RefuseTry(IHttpExchange& exchange, const Try& refused, std::string_view userName)
{
    sessions.Publish(NotificationKind::LogInThrottled, exchange, userName, "too many wrong passwords", "refused");
    return SendProblem(exchange, Http::Problems::tooManyLogIns, *refused.GetRetryAfter());
}

void PasswordRoute::SendNewSession(IHttpExchange& exchange, Try& used, const SessionManager::LogInResult& result) const
{
    if (!result.session)
    {
        if (result.refusal->status != 503)
        {
            used.KeepPlaces();
        }
        SendProblem(exchange, *result.refusal);
        return;
    }
    const auto& [key, user] = *result.session;
    const Configuration::SessionConfiguration& configuration = sessions.GetConfiguration();
    System::Commons::Json::JsonWriter writer;
    writer.WriteStartObject();
    WriteSession(writer, user.name, user.roleName, user.mustChangePassword, configuration, configuration.lifetime,
                 std::min(configuration.idleTimeout, configuration.lifetime));
    writer.WriteEndObject();
    const SecretText body = AppendToken(writer.GetText(), key.Get());
    const SecretText cookies = FormatCookies(key.Get(), browsers.MakeCookie(user.name), exchange.IsSecure());
    exchange.Send({200, Http::jsonMediaType, body.Get(), cookies.Get()});
}

} // namespace Oxa::Host::Sessions
