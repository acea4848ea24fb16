#include "Host/Sessions/SessionRoute.hpp"

#include "Host/Http/Problem.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <boost/asio/post.hpp>
#include <sodium.h>

#include <chrono>
#include <optional>
#include <string_view>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::IHttpExchange;
using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonTokenType;
using System::Commons::Json::JsonWriter;

namespace
{

constexpr std::size_t maximumWaitingLogIns = 8;

/// One log-in, from the request to the response. Counts itself. Stays in one place and wipes the password in the end,
/// so that no copy of it is left in memory.
class LogInRequest final
{
public:
    explicit LogInRequest(std::atomic<std::size_t>& count) : count(count)
    {
        ++count;
    }

    LogInRequest(const LogInRequest&) = delete;
    LogInRequest& operator=(const LogInRequest&) = delete;

    ~LogInRequest()
    {
        if (password)
        {
            sodium_memzero(password->data(), password->size());
        }
        --count;
    }

    /// False: the body is not a JSON object with possible credentials. Further members are ignored.
    [[nodiscard]] bool TryRead(std::string_view body)
    {
        try
        {
            JsonReader reader(body);
            if (reader.Read() != JsonTokenType::StartObject)
            {
                return false;
            }
            while (reader.Read() == JsonTokenType::PropertyName)
            {
                std::optional<BasicString>* const value = reader.GetText() == "user"       ? &userName
                                                          : reader.GetText() == "password" ? &password
                                                                                           : nullptr;
                if (reader.Read() == JsonTokenType::String && value != nullptr && !value->has_value())
                {
                    *value = reader.GetText();
                }
                reader.Skip();
            }
            return userName && password && System::Um::UserManager::MayBeCredentials(*userName, *password);
        }
        catch (const System::Commons::Json::JsonException&)
        {
            return false;
        }
    }

    std::optional<BasicString> userName;
    std::optional<BasicString> password;

private:
    std::atomic<std::size_t>& count;
};

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

BasicString FormatCookie(std::string_view value, std::string_view attributes)
{
    return System::Commons::Text::Format("Set-Cookie: {0}={1}; Path=/; HttpOnly; SameSite=Strict{2}\r\n",
                                         SessionManager::cookieName, value, attributes);
}

} // namespace

SessionRoute::SessionRoute(SessionManager& sessions, boost::asio::io_context& context)
    : sessions(sessions), context(context)
{
}

Handling SessionRoute::LogIn(const std::shared_ptr<IHttpExchange>& exchange)
{
    const auto logIn = std::make_shared<LogInRequest>(logIns);
    if (!logIn->TryRead(exchange->GetRequest().body))
    {
        return SendProblem(*exchange, Http::Problems::invalidCredentials);
    }
    // Beside this one and the one in progress.
    if (logIns > maximumWaitingLogIns + 1)
    {
        return SendProblem(*exchange, Http::Problems::tooManyRequests);
    }
    boost::asio::post(worker, [this, exchange, logIn] { Verify(exchange, *logIn->userName, *logIn->password); });
    return Handling::Deferred;
}

/// On the worker's thread.
void SessionRoute::Verify(const std::shared_ptr<IHttpExchange>& exchange, const BasicString& userName,
                          const BasicString& password) noexcept
{
    try
    {
        try
        {
            SendNewSession(*exchange, sessions.LogIn(userName, password, exchange->GetClientAddress()));
        }
        catch (...)
        {
            Http::FaultReport::Send(*exchange, "the log-in");
        }
        boost::asio::post(context, [exchange] { exchange->Resume(); });
    }
    catch (...)
    {
        // Out of memory. The exchange is given up, and with it the client's connection.
    }
}

void SessionRoute::SendNewSession(IHttpExchange& exchange, const std::optional<SessionManager::NewSession>& session)
{
    if (!session)
    {
        SendProblem(exchange, Http::Problems::logInFailed);
        return;
    }
    const auto& configuration = sessions.GetConfiguration();
    JsonWriter writer;
    writer.WriteStartObject();
    WriteSession(writer, session->userName, session->roleName, configuration.idleTimeout, configuration.lifetime);
    writer.WriteValue("token", session->key);
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText(), FormatCookie(session->key, "")});
}

Handling SessionRoute::SendSession(IHttpExchange& exchange, const Caller& caller) const
{
    JsonWriter writer;
    writer.WriteStartObject();
    WriteSession(writer, caller.userName, sessions.GetRoleName(caller.securityToken),
                 sessions.GetConfiguration().idleTimeout, caller.remainingLifetime);
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling SessionRoute::LogOut(IHttpExchange& exchange)
{
    sessions.LogOut(exchange);
    exchange.Send({.status = 204, .fields = FormatCookie("", "; Max-Age=0")});
    return Handling::Completed;
}

} // namespace Oxa::Host::Sessions
