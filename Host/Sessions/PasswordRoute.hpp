#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Sessions/KnownBrowsers.hpp"
#include "Host/Sessions/LogInThrottle.hpp"
#include "Host/Sessions/PasswordWorker.hpp"
#include "Host/Sessions/SessionManager.hpp"

#include <chrono>
#include <memory>
#include <string_view>

namespace Oxa::Host::Sessions
{

/// The requests that send a password: logs in, changes the password, takes it again before a command. How many
/// passwords are checked is bounded, see `LogInThrottle`. Threads: the event loop's.
class PasswordRoute final
{
public:
    using Exchange = std::shared_ptr<Http::IHttpExchange>;

    /// Manager and worker are borrowed; the worker must end first. `clock`: of the bounds on guessing.
    PasswordRoute(
        SessionManager& sessions, PasswordWorker& worker, const KnownBrowsers::Key& browserKey,
        LogInThrottle::Clock clock = [] { return std::chrono::steady_clock::now(); });
    PasswordRoute(const PasswordRoute&) = delete;
    PasswordRoute& operator=(const PasswordRoute&) = delete;

    [[nodiscard]] Http::Handling LogIn(const Exchange& exchange);

    /// The response is a new session. Once a minute, unless the user may do nothing else.
    [[nodiscard]] Http::Handling ChangePassword(const Exchange& exchange, const Caller& caller);

    [[nodiscard]] Http::Handling Confirm(const Exchange& exchange, const Caller& caller);

private:
    using Try = LogInThrottle::Try;

    [[nodiscard]] std::shared_ptr<Try> BeginLogIn(const Http::IHttpExchange& exchange, std::string_view userName);
    [[nodiscard]] std::shared_ptr<Try> BeginInSession(const Caller& caller);
    [[nodiscard]] Http::Handling RefuseTry(Http::IHttpExchange& exchange, const Try& refused,
                                           std::string_view userName);
    void SendNewSession(Http::IHttpExchange& exchange, Try& used, const SessionManager::LogInResult& result) const;

    SessionManager& sessions;
    PasswordWorker& worker;
    const KnownBrowsers browsers;
    LogInThrottle throttle;
};

} // namespace Oxa::Host::Sessions
