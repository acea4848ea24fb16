#include "Host/Sessions/UserRoute.hpp"

#include "Host/Http/JsonBody.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Sessions/RouteTexts.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Um/UserManager.hpp"

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::IHttpExchange;
using Http::JsonBody;
using System::Commons::ArgumentException;
using System::Commons::Json::JsonWriter;
using System::Nm::NotificationKind;
using System::Um::UserChange;
using System::Um::UserChangeResult;
using System::Um::UserChanges;
using System::Um::UserInfo;

namespace
{

void WriteUser(JsonWriter& writer, const UserInfo& user)
{
    writer.WriteValue("user", user.name);
    writer.WriteValue("role", user.roleName);
    writer.WriteValue("disabled", user.isDisabled);
    writer.WriteValue("mustChangePassword", user.mustChangePassword);
}

Handling SendUser(IHttpExchange& exchange, unsigned status, const std::optional<UserInfo>& user)
{
    if (!user)
    {
        // Removed in this moment.
        return SendProblem(exchange, Http::Problems::unknownUser);
    }
    JsonWriter writer;
    writer.WriteStartObject();
    WriteUser(writer, *user);
    writer.WriteEndObject();
    exchange.Send({status, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

/// Null: the change was made.
const Http::Problem* FindProblem(UserChange change) noexcept
{
    switch (change)
    {
    case UserChange::Done:
        return nullptr;
    case UserChange::UnknownUser:
        return &Http::Problems::unknownUser;
    default:
        return &Http::Problems::lastAdministrator;
    }
}

UserChanges MakeChanges(const JsonBody& body)
{
    return {.roleName = body.FindText("role"),
            .isDisabled = body.FindBoolean("disabled"),
            .password = body.FindText("password")};
}

BasicString FindFault(const JsonBody& body)
{
    if (!body.GetFault().empty())
    {
        return body.GetFault();
    }
    const UserChanges changes = MakeChanges(body);
    if (!changes.roleName && !changes.isDisabled && !changes.password)
    {
        return "The body names no change";
    }
    return changes.roleName ? FindRoleFault(*changes.roleName) : BasicString();
}

} // namespace

UserRoute::UserRoute(System::Um::UserManager& users, SessionManager& sessions, Threads::EventLoop& loop)
    : users(users), sessions(sessions), loop(loop)
{
}

Handling UserRoute::List(IHttpExchange& exchange) const
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("users");
    {
        const Threads::EventLoop::BlockingSection call(loop);
        for (const UserInfo& user : users.GetUsers())
        {
            writer.TryWriteStartComplexArrayItem();
            WriteUser(writer, user);
            writer.WriteEndComplexArrayItem();
        }
    }
    writer.TryWriteEndComplexArray();
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling UserRoute::Add(IHttpExchange& exchange, const Caller& caller)
{
    const auto body = Http::ReadBody(exchange.GetRequest(), {{"user"}, {"password"}, {"role"}});
    const BasicString fault = body->GetFault().empty() ? FindRoleFault(body->GetText("role")) : body->GetFault();
    if (!fault.empty())
    {
        return SendProblem(exchange, {400, Http::Problems::invalidBody.code, fault});
    }
    const BasicString name(body->GetText("user"));
    const std::string_view roleName = body->GetText("role");
    if (users.FindUser(name))
    {
        return SendProblem(exchange, Http::Problems::userExists);
    }
    // The cause of each exception is known by what is called.
    const Http::Problem* cause = &Http::Problems::invalidName;
    try
    {
        users.CheckNewUser(name);
        cause = &Http::Problems::passwordRefused;
        users.AddUser(name, body->GetText("password"), roleName);
    }
    catch (const ArgumentException& exception)
    {
        return SendProblem(exchange, {cause->status, cause->code, exception.what()});
    }
    sessions.Publish(NotificationKind::UserAdded, exchange, caller.userName, name, "success",
                     {{"role", BasicString(roleName)}});
    return SendUser(exchange, 201, users.FindUser(name));
}

Handling UserRoute::Change(IHttpExchange& exchange, const Caller& caller, const BasicString& userName)
{
    constexpr auto boolean = JsonBody::TokenType::Boolean;
    constexpr auto text = JsonBody::TokenType::String;
    const auto body = Http::ReadBody(exchange.GetRequest(),
                                     {{"role", text, false}, {"disabled", boolean, false}, {"password", text, false}});
    if (const BasicString fault = FindFault(*body); !fault.empty())
    {
        return SendProblem(exchange, {400, Http::Problems::invalidBody.code, fault});
    }
    const UserChanges changes = MakeChanges(*body);
    const auto user = users.FindUser(userName);
    if (user && changes.password && user->name == caller.userName)
    {
        // Who holds a session only must not be able to take over the account.
        return SendProblem(exchange, Http::Problems::ownPassword);
    }
    try
    {
        const UserChangeResult result = users.ChangeUser(userName, changes);
        if (const Http::Problem* const problem = FindProblem(result.change))
        {
            return SendProblem(exchange, *problem);
        }
        PublishChange(exchange, caller, result, changes);
        return SendUser(exchange, 200, users.FindUser(result.before.name));
    }
    catch (const ArgumentException& exception)
    {
        return SendProblem(exchange, {400, Http::Problems::passwordRefused.code, exception.what()});
    }
}

void UserRoute::PublishChange(IHttpExchange& exchange, const Caller& caller, const UserChangeResult& result,
                              const UserChanges& changes)
{
    const auto publish = [&](NotificationKind kind, SessionManager::Fields details)
    {
        sessions.Publish(kind, exchange, caller.userName, result.before.name, "success", std::move(details));
    };
    if (changes.roleName && *changes.roleName != result.before.roleName)
    {
        publish(NotificationKind::UserChanged, {{"changed", "role"}, {"role", BasicString(*changes.roleName)}});
    }
    if (changes.password)
    {
        publish(NotificationKind::UserChanged, {{"changed", "password"}});
    }
    if (changes.isDisabled && *changes.isDisabled != result.before.isDisabled)
    {
        publish(*changes.isDisabled ? NotificationKind::UserDisabled : NotificationKind::UserEnabled, {});
    }
    if (changes.password || changes.isDisabled.value_or(false))
    {
        sessions.EndSessionsOf(exchange, caller.userName, result.before.name);
    }
}

Handling UserRoute::Remove(IHttpExchange& exchange, const Caller& caller, const BasicString& userName)
{
    const UserChangeResult result = users.RemoveUser(userName);
    if (const Http::Problem* const problem = FindProblem(result.change))
    {
        return SendProblem(exchange, *problem);
    }
    sessions.Publish(NotificationKind::UserRemoved, exchange, caller.userName, result.before.name, "success",
                     {{"role", result.before.roleName}});
    sessions.EndSessionsOf(exchange, caller.userName, result.before.name);
    exchange.Send({.status = 204});
    return Handling::Completed;
}

} // namespace Oxa::Host::Sessions
