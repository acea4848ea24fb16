#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/SecretText.hpp"
#include "Host/Sessions/SessionTable.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <chrono>
#include <functional>
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

namespace Oxa::Host::Http
{
struct Problem;
}

namespace Oxa::Host::Threads
{
class EventLoop;
}

namespace Oxa::Host::Sessions
{

/// Whether the browser names another site as the origin of the request. Programs name none.
[[nodiscard]] bool IsCrossOrigin(const Http::HttpRequest& request);

/// The name of the cookie that holds a session's key. Browsers accept the one for TLS from TLS only.
[[nodiscard]] constexpr std::string_view GetSessionCookieName(bool isSecure) noexcept
{
    return isSecure ? "__Host-oxa-session" : "oxa-session";
}

/// Who sent a request, with the rights of this moment.
struct Caller
{
    System::Um::SecurityToken securityToken;
    /// Of a program with an API token: "token:NAME".
    BasicString userName;
    BasicString roleName;
    /// Of the session.
    std::chrono::seconds remainingLifetime{0};
    /// Until the session ends without further use.
    std::chrono::seconds remainingIdleTime{0};
    /// A cookie-authenticated write from another site, or without an origin, so the request may be forged (CSRF).
    /// Browsers name the origin of every write.
    bool mayBeForged = false;
    /// Until then the user may do nothing else.
    bool mustChangePassword = false;
    bool isApiToken = false;
    /// 0 for a program with an API token.
    SessionId sessionId = 0;
};

/// Logs users in and out and tells who sent a request. Logins, failed ones too, and their ends are published.
/// Threads: safe from any thread. Throws InvalidOperationException or TemporaryException when the users cannot be read.
class SessionManager final
{
public:
    /// Names and values.
    using Fields = std::vector<std::pair<BasicString, BasicString>>;

    struct NewSession
    {
        Http::SecretText key;
        System::Um::UserInfo user;
    };

    struct LogInResult
    {
        std::optional<NewSession> session = {};
        /// Set without a session.
        const Http::Problem* refusal = nullptr;
    };

    /// References are borrowed. `isAuditWritable`: whether what is published leaves a trace.
    SessionManager(const Configuration::SessionConfiguration& configuration, System::Um::UserManager& users,
                   System::Nm::NotificationManager& notifications, Threads::EventLoop& loop,
                   std::function<bool()> isAuditWritable);
    SessionManager(const SessionManager&) = delete;
    SessionManager& operator=(const SessionManager&) = delete;

    /// Takes some ten milliseconds of computing. Ends the session that the request came with. Requires:
    /// `MayBeCredentials`; impossible credentials are not worth a notification.
    [[nodiscard]] LogInResult LogIn(Http::IHttpExchange& exchange, std::string_view userName,
                                    std::string_view password);

    /// As long as `LogIn`. The user's sessions end, and a new one begins. Refused while the audit trail cannot be
    /// written, unless the user may do nothing else. Throws ArgumentException for a new password that is not allowed.
    [[nodiscard]] LogInResult ChangePassword(Http::IHttpExchange& exchange, const Caller& caller,
                                             std::string_view password, std::string_view newPassword);

    /// As long as `LogIn`. False when the password is wrong.
    [[nodiscard]] bool Confirm(Http::IHttpExchange& exchange, const Caller& caller, std::string_view password);

    /// Whether the caller has confirmed the password within the last minute.
    [[nodiscard]] bool HasConfirmation(SessionId id);

    /// The same; true once, since a confirmation holds for one command.
    [[nodiscard]] bool TakeConfirmation(SessionId id);

    /// Empty for a request without a session. Counts as use of the session, unless the request says that its user did
    /// not cause it.
    [[nodiscard]] std::optional<Caller> Authenticate(const Http::HttpRequest& request);

    /// Ends the request's session, if it has one.
    void LogOut(Http::IHttpExchange& exchange);

    /// Ends another session, or the caller's own: of the caller's user, with `isAny` of any user unless the audit trail
    /// cannot be written. Returns why not; null when it has ended.
    [[nodiscard]] const Http::Problem* EndSession(Http::IHttpExchange& exchange, const Caller& caller, SessionId id,
                                                  bool isAny);

    /// Ends all sessions of a user whose logins have ended.
    void EndSessionsOf(Http::IHttpExchange& exchange, std::string_view actor, std::string_view userName);

    /// Of this user, or of all for null; the oldest first.
    [[nodiscard]] std::vector<SessionTable::Entry> List(const BasicString* userName);

    /// Sends 403 and publishes that a page of another site has sent the request. `userName`: empty without a session.
    Http::Handling RefuseCrossOrigin(Http::IHttpExchange& exchange, std::string_view userName);

    /// What a request did. `outcome`: success, failure or refused.
    void Publish(System::Nm::NotificationKind kind, Http::IHttpExchange& exchange, std::string_view userName,
                 std::string_view text, std::string_view outcome, Fields details = {});

    /// Else nothing may be changed that has to leave a trace.
    [[nodiscard]] bool IsAuditWritable() const
    {
        return isAuditWritable();
    }

    [[nodiscard]] const Configuration::SessionConfiguration& GetConfiguration() const noexcept
    {
        return configuration;
    }

private:
    [[nodiscard]] std::optional<Caller> AuthenticateProgram(std::string_view secret);
    [[nodiscard]] std::optional<System::Um::UserInfo> TryGetUser(System::Um::SecurityToken securityToken) const;
    [[nodiscard]] LogInResult AddSession(Http::IHttpExchange& exchange, System::Um::SecurityToken securityToken);
    void FinishEnded();
    void PublishEnd(const BasicString& userName, const char* cause);
    void PublishEndByOther(Http::IHttpExchange& exchange, std::string_view userName,
                           const SessionTable::Session& session);

    const Configuration::SessionConfiguration configuration;
    System::Um::UserManager& users;
    System::Nm::NotificationManager& notifications;
    Threads::EventLoop& loop;
    const std::function<bool()> isAuditWritable;
    SessionTable table;
};

} // namespace Oxa::Host::Sessions
