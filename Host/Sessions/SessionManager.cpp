#include "Host/Sessions/SessionManager.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"

namespace Oxa::Host::Sessions
{

using System::Nm::NotificationKind;
using System::Um::SecurityToken;

namespace
{

/// Clients choose the texts.
constexpr std::size_t maximumLoggedBytes = 128;

struct Credentials
{
    std::string_view key;
    bool isByCookie = false;
};

std::string_view FindCookie(std::string_view cookies, std::string_view name) noexcept
{
    while (!cookies.empty())
    {
        std::string_view value = Http::TakeUntil(cookies, ';');
        if (Http::Trim(Http::TakeUntil(value, '=')) == name)
        {
            return Http::Trim(value);
        }
    }
    return {};
}

/// A header field that the client sets itself takes precedence over a cookie.
Credentials FindCredentials(const Http::HttpRequest& request)
{
    constexpr std::string_view scheme = "Bearer ";
    const std::string_view authorization = request.authorization;
    if (Http::AreEqual(authorization.substr(0, scheme.size()), scheme))
    {
        return {Http::Trim(authorization.substr(scheme.size())), false};
    }
    return {FindCookie(request.cookie, SessionManager::cookieName), true};
}

/// A cookie comes with every request to this host, also with one that a page of another site sends.
bool MayBeForged(const Http::HttpRequest& request)
{
    const bool hasNoOrigin = request.origin.empty() && request.fetchSite.empty();
    return !Http::IsRead(request.method) && (hasNoOrigin || IsCrossOrigin(request));
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
    const std::size_t schemeEnd = request.origin.find("://");
    return schemeEnd == std::string_view::npos || request.host.empty() ||
           request.origin.substr(schemeEnd + 3) != request.host;
}

SessionManager::SessionManager(const Configuration::SessionConfiguration& configuration, System::Um::UserManager& users,
                               System::Nm::NotificationManager& notifications, Threads::EventLoop& loop)
    : configuration(configuration), users(users), notifications(notifications), loop(loop), table(configuration)
{
}

SessionManager::~SessionManager()
{
    for (const auto& session : table.TakeAll())
    {
        users.LogOut(session.securityToken);
    }
}

std::optional<SessionManager::NewSession>
SessionManager::LogIn(const BasicString& userName, const BasicString& password, const BasicString& clientAddress)
{
    const auto securityToken = users.LogIn(userName, password);
    // As it is stored: the name that was sent may differ in case.
    const auto user = securityToken ? users.TryGetUser(*securityToken) : std::nullopt;
    if (!user)
    {
        Publish(NotificationKind::LogInFailed, userName, "user name or password is wrong",
                {{"address", clientAddress}});
        return std::nullopt;
    }
    NewSession session{table.Add(*securityToken, user->name), user->name, user->roleName};
    FinishEnded();
    Publish(NotificationKind::LoggedIn, user->name, "logged in", {{"address", clientAddress}});
    return session;
}

std::optional<Caller> SessionManager::Authenticate(const Http::HttpRequest& request)
{
    const Credentials credentials = FindCredentials(request);
    if (credentials.key.empty())
    {
        return std::nullopt;
    }
    auto found = table.Find(credentials.key);
    if (!found)
    {
        FinishEnded();
        return std::nullopt;
    }
    if (found->isCheckDue && !TryGetUser(found->securityToken))
    {
        (void)table.Remove(credentials.key);
        Publish(NotificationKind::SessionExpired, found->userName, "the user's logins were ended");
        return std::nullopt;
    }
    return Caller{found->securityToken, std::move(found->userName), found->remainingLifetime,
                  credentials.isByCookie && MayBeForged(request)};
}

void SessionManager::LogOut(const Http::IHttpExchange& exchange)
{
    if (const auto session = table.Remove(FindCredentials(exchange.GetRequest()).key))
    {
        users.LogOut(session->securityToken);
        Publish(NotificationKind::LoggedOut, session->userName, "logged out",
                {{"address", exchange.GetClientAddress()}});
    }
}

Http::Handling SessionManager::RefuseCrossOrigin(Http::IHttpExchange& exchange, std::string_view userName)
{
    if (crossOriginLimit.Admits())
    {
        const auto limit = [](std::string_view text)
        {
            return BasicString(System::Commons::Text::Truncate(text, maximumLoggedBytes));
        };
        const Http::HttpRequest& request = exchange.GetRequest();
        Publish(NotificationKind::CrossOriginRefused, userName, limit(request.path),
                {{"address", exchange.GetClientAddress()},
                 {"origin", limit(request.origin)},
                 {"fetchSite", limit(request.fetchSite)}});
    }
    return SendProblem(exchange, Http::Problems::crossOrigin);
}

BasicString SessionManager::GetRoleName(SecurityToken securityToken) const
{
    const auto user = TryGetUser(securityToken);
    return user ? user->roleName : BasicString();
}

/// Reads a file, which may block.
std::optional<System::Um::UserInfo> SessionManager::TryGetUser(SecurityToken securityToken) const
{
    const Threads::EventLoop::BlockingSection call(loop);
    return users.TryGetUser(securityToken);
}

void SessionManager::FinishEnded()
{
    for (const auto& session : table.TakeEnded())
    {
        users.LogOut(session.securityToken);
        Publish(NotificationKind::SessionExpired, session.userName, "the session ended by itself");
    }
}

void SessionManager::Publish(NotificationKind kind, std::string_view userName, std::string_view text, Fields fields)
{
    notifications.Publish({{}, kind, "Host.Sessions", BasicString(userName), BasicString(text), std::move(fields)});
}

} // namespace Oxa::Host::Sessions
