#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/ClientStream.hpp"
#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/RequestReader.hpp"
#include "Host/Http/SecureChannel.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <functional>
#include <memory>

namespace Oxa::Host::Http
{

class ConnectionGroup;

/// Listens at an address and has the clients that connect served. Owned by the host's main part. Threads: the main
/// thread until the event loop runs, then the event loop's.
class HttpServer final : private System::Commons::Diagnostics::Logging::Loggable<HttpServer>
{
public:
    /// Of one connection, for bytes that this process has not read.
    static constexpr int receiveBufferBytes = 16 * 1024;

    /// `secureChannels`: empty for plain HTTP.
    HttpServer(boost::asio::io_context& context, const Configuration::HttpConfiguration& configuration,
               HttpHandler handler, SessionCheck hasSession, SecureChannelFactory secureChannels = {});
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Throws InvalidOperationException, with address and cause, when the system refuses it.
    void Listen();

    /// Requires: `Listen` has returned.
    [[nodiscard]] uint16 GetPort() const;

    /// Accepts no new connections, ends those without a complete request, and posts `whenDrained` to the event loop
    /// when the others have ended.
    void Stop(std::function<void()> whenDrained);

    /// Ends every connection, with or without a request.
    void EndConnections();

private:
    using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    void Accept();
    void AcceptLater();
    void ServeWaiting();
    void Serve(ClientStream::Socket socket);

    boost::asio::io_context& context;
    const std::shared_ptr<ConnectionGroup> connections;
    Acceptor acceptor;
    boost::asio::steady_timer acceptTimer;
};

} // namespace Oxa::Host::Http
