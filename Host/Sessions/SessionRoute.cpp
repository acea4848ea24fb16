#include "Host/Sessions/SessionRoute.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Sessions/RouteTexts.hpp"
#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <charconv>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::IHttpExchange;
using System::Commons::Json::JsonWriter;

namespace
{

bool IsAdministrator(const Caller& caller)
{
    return caller.roleName == System::Um::adminRole;
}

/// 0 for a text that is no id.
SessionId ParseSessionId(std::string_view text) noexcept
{
    constexpr int base = 16;
    SessionId id = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), id, base);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() ? id : 0;
}

bool AsksForAll(const Http::HttpRequest& request)
{
    BasicString value;
    return Services::Commons::Wbm::RequestQuery(BasicString(request.query)).TryGetParameterValue("all", value, false) &&
           value == "true";
}

} // namespace

SessionRoute::SessionRoute(SessionManager& sessions) : sessions(sessions) {}

Handling SessionRoute::SendSession(IHttpExchange& exchange, const Caller& caller) const
{
    JsonWriter writer;
    writer.WriteStartObject();
    if (caller.isApiToken)
    {
        writer.WriteValue("user", caller.userName);
        writer.WriteValue("role", caller.roleName);
    }
    else
    {
        WriteSession(writer, caller.userName, caller.roleName, caller.mustChangePassword, sessions.GetConfiguration(),
                     caller.remainingLifetime, caller.remainingIdleTime);
    }
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling SessionRoute::LogOut(IHttpExchange& exchange, const Caller& caller)
{
    if (caller.isApiToken)
    {
        return SendProblem(exchange, Http::Problems::notForApiTokens);
    }
    sessions.LogOut(exchange);
    BasicString cookie;
    AppendCookie(cookie, GetSessionCookieName(exchange.IsSecure()), "", exchange.IsSecure(), "; Max-Age=0");
    exchange.Send({.status = 204, .fields = cookie});
    return Handling::Completed;
}

Handling SessionRoute::List(IHttpExchange& exchange, const Caller& caller)
{
    const bool isAll = AsksForAll(exchange.GetRequest());
    if (isAll && !IsAdministrator(caller))
    {
        return SendProblem(exchange, Http::Problems::noPermission);
    }
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("sessions");
    for (const auto& [session, age, idleTime] : sessions.List(isAll ? nullptr : &caller.userName))
    {
        writer.TryWriteStartComplexArrayItem();
        writer.WriteValue("id", FormatSessionId(session.id));
        writer.WriteValue("user", session.logIn.userName);
        writer.WriteValue("address", session.logIn.address);
        writer.WriteValue("userAgent", session.logIn.userAgent);
        writer.WriteValue("created", FormatTime(-age));
        writer.WriteValue("lastUsed", FormatTime(-idleTime));
        writer.WriteValue("current", session.id == caller.sessionId);
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling SessionRoute::End(IHttpExchange& exchange, const Caller& caller, std::string_view id)
{
    if (const auto* const problem = sessions.EndSession(exchange, caller, ParseSessionId(id), IsAdministrator(caller)))
    {
        return SendProblem(exchange, *problem);
    }
    exchange.Send({.status = 204});
    return Handling::Completed;
}

} // namespace Oxa::Host::Sessions
