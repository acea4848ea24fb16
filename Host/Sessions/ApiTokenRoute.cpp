#include "Host/Sessions/ApiTokenRoute.hpp"

#include "Host/Http/JsonBody.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Http/SecretText.hpp"
#include "Host/Sessions/RouteTexts.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::IHttpExchange;
using Http::JsonBody;
using System::Commons::Json::JsonWriter;
using System::Commons::Text::FoldCase;
using System::Nm::NotificationKind;
using System::Um::ApiTokenInfo;

namespace
{

constexpr int maximumDays = 36500;

/// 0 for a number that is not allowed.
int ParseDays(std::string_view text) noexcept
{
    int days = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), days);
    const bool isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return isWhole && days >= 1 && days <= maximumDays ? days : 0;
}

BasicString FindFault(const JsonBody& body)
{
    if (!body.GetFault().empty())
    {
        return body.GetFault();
    }
    if (const auto days = body.FindText("days"); days && ParseDays(*days) == 0)
    {
        return System::Commons::Text::Format("The member 'days' must be a whole number from 1 to {0}", maximumDays);
    }
    return FindRoleFault(body.GetText("role"));
}

/// By the clock that ends tokens; 0 for one that has expired.
int64 GetSecondsUntil(const DateTime& time)
{
    using std::chrono::microseconds;
    const auto now = std::chrono::duration_cast<microseconds>(std::chrono::system_clock::now().time_since_epoch());
    const auto left = microseconds(time.ToUnixTimeMicroseconds()) - now;
    return std::max<int64>(0, std::chrono::ceil<std::chrono::seconds>(left).count());
}

void WriteApiToken(JsonWriter& writer, const ApiTokenInfo& token)
{
    writer.WriteValue("name", token.name);
    writer.WriteValue("role", token.roleName);
    writer.WriteValue("createdBy", token.createdBy);
    writer.WriteValue("created", token.created.ToIso8601String());
    if (token.expires)
    {
        writer.WriteValue("expires", token.expires->ToIso8601String());
        writer.WriteValue("expiresInSeconds", GetSecondsUntil(*token.expires));
    }
    if (token.lastUsed)
    {
        writer.WriteValue("lastUsed", token.lastUsed->ToIso8601String());
    }
}

bool Exists(const std::vector<ApiTokenInfo>& tokens, std::string_view name)
{
    return std::ranges::any_of(tokens, [folded = FoldCase(name)](const ApiTokenInfo& each)
                               { return FoldCase(each.name) == folded; });
}

} // namespace

ApiTokenRoute::ApiTokenRoute(System::Um::UserManager& users, SessionManager& sessions, Threads::EventLoop& loop)
    : users(users), sessions(sessions), loop(loop)
{
}

Handling ApiTokenRoute::List(IHttpExchange& exchange) const
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("tokens");
    {
        const Threads::EventLoop::BlockingSection call(loop);
        for (const ApiTokenInfo& token : users.GetApiTokens())
        {
            writer.TryWriteStartComplexArrayItem();
            WriteApiToken(writer, token);
            writer.WriteEndComplexArrayItem();
        }
    }
    writer.TryWriteEndComplexArray();
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling ApiTokenRoute::Add(IHttpExchange& exchange, const Caller& caller)
{
    constexpr auto number = JsonBody::TokenType::Number;
    const auto body = Http::ReadBody(exchange.GetRequest(), {{"name"}, {"role"}, {"days", number, false}});
    if (const BasicString fault = FindFault(*body); !fault.empty())
    {
        return SendProblem(exchange, {400, Http::Problems::invalidBody.code, fault});
    }
    const BasicString name(body->GetText("name"));
    const BasicString roleName(body->GetText("role"));
    if (Exists(users.GetApiTokens(), name))
    {
        return SendProblem(exchange, Http::Problems::apiTokenExists);
    }
    const auto days = body->FindText("days");
    try
    {
        const Http::SecretText secret(users.AddApiToken(
            name, roleName, days ? std::optional(std::chrono::days(ParseDays(*days))) : std::nullopt, caller.userName));
        sessions.Publish(NotificationKind::TokenAdded, exchange, caller.userName, name, "success",
                         {{"role", roleName}, {"days", BasicString(days.value_or(""))}});
        JsonWriter writer;
        writer.WriteStartObject();
        writer.WriteValue("name", name);
        writer.WriteValue("role", roleName);
        writer.WriteEndObject();
        const Http::SecretText response = AppendToken(writer.GetText(), secret.Get());
        exchange.Send({201, Http::jsonMediaType, response.Get()});
        return Handling::Completed;
    }
    catch (const System::Commons::ArgumentException& exception)
    {
        return SendProblem(exchange, {400, Http::Problems::invalidName.code, exception.what()});
    }
}

Handling ApiTokenRoute::Remove(IHttpExchange& exchange, const Caller& caller, const BasicString& name)
{
    const auto removed = users.RemoveApiToken(name);
    if (!removed)
    {
        return SendProblem(exchange, Http::Problems::unknownApiToken);
    }
    sessions.Publish(NotificationKind::TokenRemoved, exchange, caller.userName, removed->name, "success",
                     {{"role", removed->roleName}});
    exchange.Send({.status = 204});
    return Handling::Completed;
}

} // namespace Oxa::Host::Sessions
