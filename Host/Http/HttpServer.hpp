#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/ClientStream.hpp"
#include "Host/Http/HostNames.hpp"
#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/RequestReader.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <unordered_set>

namespace Oxa::Host::Http
{

/// Listens, bounds the number of connections and ends those that wait too long: one timer checks all of them once a
/// second, and only while there are any. Owned by the host's main part and by its connections. Threads: the main thread
/// until the event loop runs, then the event loop's.
class HttpServer final : public std::enable_shared_from_this<HttpServer>,
                         private System::Commons::Diagnostics::Logging::Loggable<HttpServer>
{
public:
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
    class Connection;
    using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    void Accept();
    void AcceptLater();
    void Serve(ClientStream::Socket socket);
    [[nodiscard]] bool TryAdd(Connection& connection);
    void Remove(Connection& connection);
    void StartSweep();
    void Sweep();

    boost::asio::io_context& context;
    const Configuration::HttpConfiguration configuration;
    const HostNames hostNames;
    const HttpHandler handler;
    const SessionCheck hasSession;
    const SecureChannelFactory secureChannels;
    Acceptor acceptor;
    boost::asio::steady_timer acceptTimer;
    boost::asio::steady_timer sweepTimer;
    bool isSweeping = false;
    /// Counts seconds while there are connections.
    std::atomic<uint32> tick = 0;
    std::atomic<bool> isStopping = false;

    System::Commons::Mutex mutex;
    std::unordered_set<Connection*> connections OXA_GUARDED_BY(mutex);
    std::function<void()> drained OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Http
