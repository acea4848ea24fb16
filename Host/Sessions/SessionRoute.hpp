#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Sessions/SessionManager.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>

namespace Oxa::Host::Sessions
{

/// Logs in and out and sends the session. Passwords are verified on a thread of its own, one at a time,
/// since that takes long on purpose; a bounded number of log-ins waits. The destructor finishes the log-in in progress;
/// those that wait get no response. Threads: the event loop's.
class SessionRoute final
{
public:
    /// Everything is borrowed.
    SessionRoute(SessionManager& sessions, boost::asio::io_context& context);
    SessionRoute(const SessionRoute&) = delete;
    SessionRoute& operator=(const SessionRoute&) = delete;

    [[nodiscard]] Http::Handling LogIn(const std::shared_ptr<Http::IHttpExchange>& exchange);
    [[nodiscard]] Http::Handling SendSession(Http::IHttpExchange& exchange, const Caller& caller) const;
    [[nodiscard]] Http::Handling LogOut(Http::IHttpExchange& exchange);

private:
    void Verify(const std::shared_ptr<Http::IHttpExchange>& exchange, const BasicString& userName,
                const BasicString& password) noexcept;
    void SendNewSession(Http::IHttpExchange& exchange, const std::optional<SessionManager::NewSession>& session);

    SessionManager& sessions;
    boost::asio::io_context& context;
    /// Waiting and in progress.
    std::atomic<std::size_t> logIns = 0;
    boost::asio::thread_pool worker{1};
};

} // namespace Oxa::Host::Sessions
