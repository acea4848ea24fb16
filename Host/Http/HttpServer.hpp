#pragma once

#include "Host/Http/HttpConnection.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/steady_timer.hpp>

namespace Oxa::Host::Http
{

/// Listens, bounds the number of connections and ends those that wait too long: one timer checks all of them once a
/// second, and only while there are any. Owned by the host's main part. Threads: the main thread until the event loop
/// runs, then the event loop's.
class HttpServer final : private System::Commons::Diagnostics::Logging::Loggable<HttpServer>
{
public:
    HttpServer(boost::asio::io_context& context, const Configuration::HttpConfiguration& configuration,
               HttpHandler handler);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    ~HttpServer();

    /// Throws InvalidOperationException, with address and cause, when the system refuses it.
    void Listen();

    /// Requires: `Listen` has returned.
    [[nodiscard]] uint16 GetPort() const;

    /// Accepts no new connections, ends those without a complete request, and calls `whenDrained` when the others have
    /// ended.
    void Stop(std::function<void()> whenDrained);

    /// Ends every connection, with or without a request.
    void EndConnections();

private:
    using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    void Accept();
    void AcceptLater();
    void OnAccepted(HttpConnection::Socket socket);
    void StartSweep();

    const std::shared_ptr<ConnectionSet> connections;
    Acceptor acceptor;
    boost::asio::steady_timer acceptTimer;
    boost::asio::steady_timer sweepTimer;
    bool isSweeping = false;
};

} // namespace Oxa::Host::Http
