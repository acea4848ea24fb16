#include "Host/Sessions/SessionRoute.hpp"

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Sessions/RequestOrigin.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <boost/asio/post.hpp>
#include <sodium.h>

#include <chrono>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::HttpMethod;
using Http::IHttpExchange;
using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonTokenType;
using System::Commons::Json::JsonWriter;

namespace
{

constexpr std::size_t maximumWaitingLogIns = 8;

bool IsJson(std::string_view contentType)
{
    return Http::AreEqual(Http::Trim(contentType.substr(0, contentType.find(';'))), "application/json");
}

/// Where a string can be expected: false when the token is none.
bool TryReadString(JsonReader& reader, BasicString& value)
{
    if (reader.Read() != JsonTokenType::String)
    {
        return false;
    }
    value = reader.GetText();
    return true;
}

BasicString FormatExpiry(std::chrono::seconds remaining)
{
    const auto end = std::chrono::system_clock::now() + remaining;
    return DateTime::FromUnixTimeMicroseconds(std::chrono::floor<std::chrono::seconds>(end).time_since_epoch() /
                                              std::chrono::microseconds(1))
        .ToIso8601String();
}

void WriteSession(JsonWriter& writer, std::string_view userName, std::string_view roleName,
                  std::chrono::seconds idleTimeout, std::chrono::seconds remaining)
{
    writer.WriteValue("user", userName);
    writer.WriteValue("role", roleName);
    writer.WriteValue("idleSeconds", static_cast<int64>(idleTimeout.count()));
    writer.WriteValue("expires", FormatExpiry(remaining));
}

} // namespace

SessionRoute::SessionRoute(SessionManager& sessions, boost::asio::io_context& context)
    : sessions(sessions), context(context), worker(maximumWaitingLogIns)
{
}

Handling SessionRoute::Handle(const std::shared_ptr<IHttpExchange>& exchange)
{
    switch (exchange->GetRequest().method)
    {
    case HttpMethod::Post:
        return LogIn(exchange);
    case HttpMethod::Get:
    case HttpMethod::Head:
        Look(*exchange);
        break;
    case HttpMethod::Delete:
        LogOut(*exchange);
        break;
    default:
        Http::SendMethodNotAllowed(*exchange, "GET, HEAD, POST, DELETE");
        break;
    }
    return Handling::Completed;
}

Handling SessionRoute::LogIn(const std::shared_ptr<IHttpExchange>& exchange)
{
    const Http::HttpRequest& request = exchange->GetRequest();
    if (IsSaidToBeForeign(request))
    {
        sessions.ReportCrossOrigin(*exchange, {});
        Http::SendProblem(*exchange, Http::Problems::crossOrigin);
        return Handling::Completed;
    }
    if (!IsJson(request.contentType))
    {
        Http::SendProblem(*exchange, Http::Problems::notJson);
        return Handling::Completed;
    }
    const auto logIn = ReadLogInRequest(request.body);
    if (!logIn || !System::Um::UserManager::MayBeCredentials(logIn->userName, logIn->password))
    {
        Http::SendProblem(*exchange, Http::Problems::invalidCredentials);
        return Handling::Completed;
    }
    if (worker.TryAdd([this, exchange, logIn] { Finish(exchange, *logIn); }))
    {
        return Handling::Deferred;
    }
    Http::SendProblem(*exchange, Http::Problems::tooManyRequests);
    return Handling::Completed;
}

SessionRoute::LogInRequest::~LogInRequest()
{
    sodium_memzero(password.data(), password.size());
}

/// Further members are passed over.
std::shared_ptr<SessionRoute::LogInRequest> SessionRoute::ReadLogInRequest(std::string_view body)
{
    try
    {
        const auto request = std::make_shared<LogInRequest>();
        JsonReader reader(body);
        if (reader.Read() != JsonTokenType::StartObject)
        {
            return nullptr;
        }
        bool hasUser = false;
        bool hasPassword = false;
        while (reader.Read() == JsonTokenType::PropertyName)
        {
            if (reader.GetText() == "user" && !hasUser)
            {
                hasUser = TryReadString(reader, request->userName);
            }
            else if (reader.GetText() == "password" && !hasPassword)
            {
                hasPassword = TryReadString(reader, request->password);
            }
            else
            {
                reader.Read();
            }
            reader.Skip();
        }
        return hasUser && hasPassword ? request : nullptr;
    }
    catch (const System::Commons::Json::JsonException&)
    {
        return nullptr;
    }
}

/// On the worker's thread.
void SessionRoute::Finish(const std::shared_ptr<IHttpExchange>& exchange, const LogInRequest& request) noexcept
{
    try
    {
        Answer(*exchange, request);
        boost::asio::post(context, [exchange] { exchange->Resume(); });
    }
    catch (...)
    {
        // No memory even to tell so. The exchange is given up, and with it the client's connection.
    }
}

void SessionRoute::Answer(IHttpExchange& exchange, const LogInRequest& request)
{
    try
    {
        const auto session = sessions.LogIn(request.userName, request.password, exchange.GetClientAddress());
        if (session)
        {
            SendNewSession(exchange, *session);
        }
        else
        {
            Http::SendProblem(exchange, Http::Problems::logInFailed);
        }
    }
    catch (...)
    {
        Http::FaultReport::Send(exchange, "the log-in");
    }
}

void SessionRoute::SendNewSession(IHttpExchange& exchange, const SessionManager::NewSession& session) const
{
    const auto& configuration = sessions.GetConfiguration();
    JsonWriter writer;
    writer.WriteStartObject();
    WriteSession(writer, session.userName, session.roleName, configuration.idleTimeout, configuration.lifetime);
    writer.WriteValue("token", session.key);
    writer.WriteEndObject();
    const BasicString cookie = System::Commons::Text::Format(
        "Set-Cookie: {0}={1}; Path=/; HttpOnly; SameSite=Strict\r\n", SessionManager::cookieName, session.key);
    exchange.Send({200, Http::jsonMediaType, writer.GetText(), cookie});
}

void SessionRoute::Look(IHttpExchange& exchange)
{
    const auto caller = sessions.Authenticate(exchange.GetRequest());
    if (!caller)
    {
        Http::SendProblem(exchange, Http::Problems::noSession);
        return;
    }
    JsonWriter writer;
    writer.WriteStartObject();
    WriteSession(writer, caller->userName, sessions.GetRoleName(caller->securityToken),
                 sessions.GetConfiguration().idleTimeout, caller->remainingLifetime);
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
}

void SessionRoute::LogOut(IHttpExchange& exchange)
{
    const Http::HttpRequest& request = exchange.GetRequest();
    const auto caller = sessions.Authenticate(request);
    if (!caller)
    {
        Http::SendProblem(exchange, Http::Problems::noSession);
        return;
    }
    if (caller->isByCookie && IsForeign(request))
    {
        sessions.ReportCrossOrigin(exchange, caller->userName);
        Http::SendProblem(exchange, Http::Problems::crossOrigin);
        return;
    }
    sessions.LogOut(request, exchange.GetClientAddress());
    const BasicString cookie = System::Commons::Text::Format(
        "Set-Cookie: {0}=; Path=/; HttpOnly; SameSite=Strict; Max-Age=0\r\n", SessionManager::cookieName);
    exchange.Send({.status = 204, .fields = cookie});
}

} // namespace Oxa::Host::Sessions
