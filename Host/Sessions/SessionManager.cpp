#include "Host/Sessions/SessionManager.hpp"

#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Oxa::Host::Sessions
{

using Http::IHttpExchange;
using System::Nm::NotificationKind;
using System::Um::SecurityToken;

namespace
{

/// Clients choose the texts.
constexpr std::size_t maximumLoggedBytes = 128;
constexpr std::size_t maximumUserAgentBytes = 256;
constexpr std::string_view apiTokenPrefix = "oxa_";
constexpr const char* source = "Host.Sessions";

struct Credentials
{
    std::string_view key;
    bool isByCookie = false;
};

/// A header field that the client sets itself takes precedence over a cookie.
Credentials FindCredentials(const Http::HttpRequest& request)
{
    constexpr std::string_view scheme = "Bearer ";
    const std::string_view authorization = request.authorization;
    if (Http::AreEqual(authorization.substr(0, scheme.size()), scheme))
    {
        return {Http::Trim(authorization.substr(scheme.size())), false};
    }
    return {Http::FindCookie(request.cookie, GetSessionCookieName(request.isSecure)), true};
}

/// A cookie comes with every request to this host, also with one that a page of another site sends.
bool MayBeForged(const Http::HttpRequest& request)
{
    const bool hasNoOrigin = request.origin.empty() && request.fetchSite.empty();
    return !Http::IsRead(request.method) && (hasNoOrigin || IsCrossOrigin(request));
}

BasicString Limit(std::string_view text, std::size_t maximumBytes)
{
    return BasicString(System::Commons::Text::Truncate(text, maximumBytes));
}

} // namespace

bool IsCrossOrigin(const Http::HttpRequest& request)
{
    if (!request.fetchSite.empty() && request.fetchSite != "same-origin" && request.fetchSite != "none")
    {
        return true;
    }
    if (request.origin.empty())
    {
        return false;
    }
    const std::string_view scheme = request.isSecure ? "https://" : "http://";
    return request.host.empty() || !request.origin.starts_with(scheme) ||
           request.origin.substr(scheme.size()) != request.host;
}

SessionManager::SessionManager(const Configuration::SessionConfiguration& configuration, System::Um::UserManager& users,
                               System::Nm::NotificationManager& notifications, Threads::EventLoop& loop,
                               std::function<bool()> isAuditWritable)
    : configuration(configuration),
      users(users),
      notifications(notifications),
      loop(loop),
      isAuditWritable(std::move(isAuditWritable)),
      table(configuration)
{
}

SessionManager::LogInResult SessionManager::LogIn(IHttpExchange& exchange, std::string_view userName,
                                                  std::string_view password)
{
    const auto securityToken = users.LogIn(userName, password);
    if (!securityToken)
    {
        Publish(NotificationKind::LogInFailed, exchange, userName, "user name or password is wrong", "failure");
        return {.refusal = &Http::Problems::logInFailed};
    }
    if (const auto previous = table.Remove(FindCredentials(exchange.GetRequest()).key))
    {
        users.LogOut(previous->logIn.securityToken);
        Publish(NotificationKind::LoggedOut, exchange, previous->logIn.userName, "logged in again", "success");
    }
    LogInResult result = AddSession(exchange, *securityToken);
    if (result.session)
    {
        Publish(NotificationKind::LoggedIn, exchange, result.session->user.name, "logged in", "success");
    }
    else
    {
        Publish(NotificationKind::LogInFailed, exchange, userName, result.refusal->detail, "failure");
    }
    return result;
}

SessionManager::LogInResult SessionManager::ChangePassword(IHttpExchange& exchange, const Caller& caller,
                                                           std::string_view password, std::string_view newPassword)
{
    if (!caller.mustChangePassword && !isAuditWritable())
    {
        return {.refusal = &Http::Problems::auditNotWritable};
    }
    const auto securityToken = users.ChangePassword(caller.securityToken, password, newPassword);
    if (!securityToken)
    {
        Publish(NotificationKind::PasswordConfirmationFailed, exchange, caller.userName, "the password was not changed",
                "failure");
        return {.refusal = &Http::Problems::wrongPassword};
    }
    Publish(NotificationKind::UserChanged, exchange, caller.userName, caller.userName, "success",
            {{"changed", "password"}});
    (void)table.Remove(caller.sessionId, nullptr);
    EndSessionsOf(exchange, caller.userName, caller.userName);
    return AddSession(exchange, *securityToken);
}

bool SessionManager::Confirm(IHttpExchange& exchange, const Caller& caller, std::string_view password)
{
    if (!users.VerifyPassword(caller.securityToken, password))
    {
        Publish(NotificationKind::PasswordConfirmationFailed, exchange, caller.userName, "the password is wrong",
                "failure");
        return false;
    }
    table.Confirm(caller.sessionId);
    Publish(NotificationKind::PasswordConfirmed, exchange, caller.userName, "the password was given again", "success");
    return true;
}

bool SessionManager::HasConfirmation(SessionId id)
{
    return table.HasConfirmation(id);
}

bool SessionManager::TakeConfirmation(SessionId id)
{
    return table.TakeConfirmation(id);
}

std::optional<Caller> SessionManager::Authenticate(const Http::HttpRequest& request)
{
    const Credentials credentials = FindCredentials(request);
    if (credentials.key.empty())
    {
        return std::nullopt;
    }
    if (!credentials.isByCookie && credentials.key.starts_with(apiTokenPrefix))
    {
        return AuthenticateProgram(credentials.key);
    }
    const auto found = table.Find(credentials.key, !Http::AreEqual(request.activity, "background"));
    if (!found)
    {
        FinishEnded();
        return std::nullopt;
    }
    auto user = TryGetUser(found->securityToken);
    if (!user)
    {
        (void)table.Remove(credentials.key);
        PublishEnd(found->userName, "the user's logins were ended");
        return std::nullopt;
    }
    return Caller{.securityToken = found->securityToken,
                  .userName = std::move(user->name),
                  .roleName = std::move(user->roleName),
                  .remainingLifetime = found->remainingLifetime,
                  .remainingIdleTime = found->remainingIdleTime,
                  .mayBeForged = credentials.isByCookie && MayBeForged(request),
                  .mustChangePassword = user->mustChangePassword,
                  .sessionId = found->id};
}

/// Without a session: programs send the token with every request.
std::optional<Caller> SessionManager::AuthenticateProgram(std::string_view secret)
{
    const Threads::EventLoop::BlockingSection call(loop);
    const auto securityToken = users.LogInWithApiToken(secret);
    auto user = securityToken ? users.TryGetUser(*securityToken) : std::nullopt;
    if (!user)
    {
        return std::nullopt;
    }
    return Caller{.securityToken = *securityToken,
                  .userName = std::move(user->name),
                  .roleName = std::move(user->roleName),
                  .isApiToken = true};
}

void SessionManager::LogOut(IHttpExchange& exchange)
{
    if (const auto session = table.Remove(FindCredentials(exchange.GetRequest()).key))
    {
        users.LogOut(session->logIn.securityToken);
        Publish(NotificationKind::LoggedOut, exchange, session->logIn.userName, "logged out", "success");
    }
}

const Http::Problem* SessionManager::EndSession(IHttpExchange& exchange, const Caller& caller, SessionId id, bool isAny)
{
    auto session = table.Remove(id, &caller.userName);
    if (!session && isAny)
    {
        if (!isAuditWritable())
        {
            return &Http::Problems::auditNotWritable;
        }
        session = table.Remove(id, nullptr);
    }
    if (!session)
    {
        return &Http::Problems::unknownSession;
    }
    users.LogOut(session->logIn.securityToken);
    if (id == caller.sessionId)
    {
        Publish(NotificationKind::LoggedOut, exchange, caller.userName, "logged out", "success");
    }
    else
    {
        PublishEndByOther(exchange, caller.userName, *session);
    }
    return nullptr;
}

void SessionManager::EndSessionsOf(IHttpExchange& exchange, std::string_view actor, std::string_view userName)
{
    for (const auto& session : table.RemoveUser(userName))
    {
        users.LogOut(session.logIn.securityToken);
        PublishEndByOther(exchange, actor, session);
    }
}

std::vector<SessionTable::Entry> SessionManager::List(const BasicString* userName)
{
    auto entries = table.List(userName);
    FinishEnded();
    return entries;
}

Http::Handling SessionManager::RefuseCrossOrigin(IHttpExchange& exchange, std::string_view userName)
{
    const Http::HttpRequest& request = exchange.GetRequest();
    Publish(NotificationKind::CrossOriginRefused, exchange, userName, Limit(request.path, maximumLoggedBytes),
            "refused",
            {{"origin", Limit(request.origin, maximumLoggedBytes)},
             {"fetchSite", Limit(request.fetchSite, maximumLoggedBytes)}});
    return SendProblem(exchange, Http::Problems::crossOrigin);
}

void SessionManager::Publish(NotificationKind kind, IHttpExchange& exchange, std::string_view userName,
                             std::string_view text, std::string_view outcome, Fields details)
{
    Fields fields = {{"address", exchange.GetClientAddress()}};
    std::ranges::move(details, std::back_inserter(fields));
    fields.emplace_back("outcome", outcome);
    fields.emplace_back("requestId", exchange.GetRequestId());
    notifications.Publish({{}, kind, source, BasicString(userName), BasicString(text), std::move(fields)});
}

/// Reads a file, which may block.
std::optional<System::Um::UserInfo> SessionManager::TryGetUser(SecurityToken securityToken) const
{
    const Threads::EventLoop::BlockingSection call(loop);
    return users.TryGetUser(securityToken);
}

SessionManager::LogInResult SessionManager::AddSession(IHttpExchange& exchange, SecurityToken securityToken)
{
    auto user = users.TryGetUser(securityToken);
    if (!user)
    {
        // Removed, disabled or given another password in this moment.
        return {.refusal = &Http::Problems::logInFailed};
    }
    auto key = table.Add({securityToken, user->name, exchange.GetClientAddress(),
                          Limit(exchange.GetRequest().userAgent, maximumUserAgentBytes)});
    FinishEnded();
    if (!key)
    {
        users.LogOut(securityToken);
        return {.refusal = &Http::Problems::tooManySessions};
    }
    exchange.SetSession(securityToken.GetValue());
    return {.session = NewSession{Http::SecretText(*std::move(key)), *std::move(user)}};
}

void SessionManager::FinishEnded()
{
    for (const auto& [session, cause] : table.TakeEnded())
    {
        users.LogOut(session.logIn.securityToken);
        PublishEnd(session.logIn.userName, cause);
    }
}

void SessionManager::PublishEnd(const BasicString& userName, const char* cause)
{
    notifications.Publish({{}, NotificationKind::SessionExpired, source, userName, cause, {}});
}

void SessionManager::PublishEndByOther(IHttpExchange& exchange, std::string_view userName,
                                       const SessionTable::Session& session)
{
    Publish(NotificationKind::SessionEndedByOther, exchange, userName, session.logIn.userName, "success",
            {{"object", FormatSessionId(session.id)}, {"sessionAddress", session.logIn.address}});
}

} // namespace Oxa::Host::Sessions
