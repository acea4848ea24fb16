#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Sessions/SessionTable.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogRateLimiter.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <chrono>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::System::Nm
{
class NotificationManager;
}

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host::Threads
{
class EventLoop;
}

namespace Oxa::Host::Sessions
{

/// Whether the browser names another site as the origin of the request. Programs name none.
[[nodiscard]] bool IsCrossOrigin(const Http::HttpRequest& request);

/// Who sent a request.
struct Caller
{
    System::Um::SecurityToken securityToken;
    BasicString userName;
    std::chrono::seconds remainingLifetime{0};
    /// A cookie-authenticated write from another site, or without an origin, so the request may be forged (CSRF).
    /// Browsers name the origin of every write.
    bool mayBeForged = false;
};

/// Logs users in and out and tells who sent a request. Logins, failed ones too, and their ends are published.
/// Threads: safe from any thread. Throws InvalidOperationException when the users cannot be read.
class SessionManager final
{
public:
    static constexpr std::string_view cookieName = "oxa-session";

    struct NewSession
    {
        BasicString key;
        BasicString userName;
        BasicString roleName;
    };

    /// Everything is borrowed.
    SessionManager(const Configuration::SessionConfiguration& configuration, System::Um::UserManager& users,
                   System::Nm::NotificationManager& notifications, Threads::EventLoop& loop);
    SessionManager(const SessionManager&) = delete;
    SessionManager& operator=(const SessionManager&) = delete;

    /// Logs all users out.
    ~SessionManager();

    /// Takes some ten milliseconds of computing. Empty when user name or password is wrong. Requires:
    /// `MayBeCredentials`; impossible credentials are not worth a notification.
    [[nodiscard]] std::optional<NewSession> LogIn(const BasicString& userName, const BasicString& password,
                                                  const BasicString& clientAddress);

    /// Empty for a request without a session. A user who was removed loses the session within a second.
    [[nodiscard]] std::optional<Caller> Authenticate(const Http::HttpRequest& request);

    /// Ends the request's session, if it has one.
    void LogOut(const Http::IHttpExchange& exchange);

    /// Sends 403 and publishes, at a bounded rate, that a page of another site has sent the request.
    Http::Handling RefuseCrossOrigin(Http::IHttpExchange& exchange, std::string_view userName);

    /// Empty when the user has been removed.
    [[nodiscard]] BasicString GetRoleName(System::Um::SecurityToken securityToken) const;

    [[nodiscard]] const Configuration::SessionConfiguration& GetConfiguration() const noexcept
    {
        return configuration;
    }

private:
    using Fields = std::vector<std::pair<BasicString, BasicString>>;

    [[nodiscard]] std::optional<System::Um::UserInfo> TryGetUser(System::Um::SecurityToken securityToken) const;
    void FinishEnded();
    void Publish(System::Nm::NotificationKind kind, std::string_view userName, std::string_view text,
                 Fields fields = {});

    const Configuration::SessionConfiguration configuration;
    System::Um::UserManager& users;
    System::Nm::NotificationManager& notifications;
    Threads::EventLoop& loop;
    SessionTable table;
    System::Commons::Diagnostics::Logging::LogRateLimiter crossOriginLimit;
};

} // namespace Oxa::Host::Sessions
