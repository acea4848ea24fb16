#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Host/Threads/TaskWorker.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>

#include <memory>
#include <string_view>

namespace Oxa::Host::Sessions
{

/// POST logs in, GET looks, DELETE logs out. Passwords are compared by a worker, one at a time, since that takes long
/// on purpose. Threads: the event loop's.
class SessionRoute final
{
public:
    /// Everything is borrowed.
    SessionRoute(SessionManager& sessions, boost::asio::io_context& context);
    SessionRoute(const SessionRoute&) = delete;
    SessionRoute& operator=(const SessionRoute&) = delete;

    [[nodiscard]] Http::Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange);

private:
    /// Stays where it is and wipes the password in the end, so that no copy of it is left in memory.
    struct LogInRequest final
    {
        LogInRequest() = default;
        LogInRequest(const LogInRequest&) = delete;
        LogInRequest& operator=(const LogInRequest&) = delete;
        ~LogInRequest();

        BasicString userName;
        BasicString password;
    };

    [[nodiscard]] Http::Handling LogIn(const std::shared_ptr<Http::IHttpExchange>& exchange);
    /// Null when the body is none.
    [[nodiscard]] static std::shared_ptr<LogInRequest> ReadLogInRequest(std::string_view body);
    void Finish(const std::shared_ptr<Http::IHttpExchange>& exchange, const LogInRequest& request) noexcept;
    void Answer(Http::IHttpExchange& exchange, const LogInRequest& request);
    void SendNewSession(Http::IHttpExchange& exchange, const SessionManager::NewSession& session) const;
    void Look(Http::IHttpExchange& exchange);
    void LogOut(Http::IHttpExchange& exchange);

    SessionManager& sessions;
    boost::asio::io_context& context;
    Threads::TaskWorker worker;
};

} // namespace Oxa::Host::Sessions
