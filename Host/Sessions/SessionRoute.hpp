#pragma once

#include "Host/Http/IHttpHandler.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Threads/TaskWorker.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>

#include <memory>
#include <optional>

namespace Oxa::Host::Sessions
{

/// POST logs in, GET looks, DELETE logs out. Passwords are compared by a worker, one at a time, since that takes long
/// on purpose. Threads: the event loop's.
class SessionRoute final : private System::Commons::Diagnostics::Logging::Loggable<SessionRoute>
{
public:
    /// Everything is borrowed.
    SessionRoute(SessionManager& sessions, boost::asio::io_context& context);
    SessionRoute(const SessionRoute&) = delete;
    SessionRoute& operator=(const SessionRoute&) = delete;

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange);

private:
    struct LogInRequest
    {
        BasicString userName;
        BasicString password;
    };

    [[nodiscard]] Http::Handling LogIn(const std::shared_ptr<Http::IHttpExchange>& exchange);
    [[nodiscard]] static std::optional<LogInRequest> ReadLogInRequest(std::string_view body);
    void Finish(const std::shared_ptr<Http::IHttpExchange>& exchange, LogInRequest& request);
    void SendNewSession(Http::IHttpExchange& exchange, const SessionManager::NewSession& session) const;
    void Look(Http::IHttpExchange& exchange);
    void LogOut(Http::IHttpExchange& exchange);

    SessionManager& sessions;
    boost::asio::io_context& context;
    Threads::TaskWorker worker;
};

} // namespace Oxa::Host::Sessions
