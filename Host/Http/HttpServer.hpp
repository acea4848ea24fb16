#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/ClientStream.hpp"
#include "Host/Http/ConnectionTable.hpp"
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
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace Oxa::Host::Http
{

/// Listens and ends connections as its table decides: those that have to make room for others, and, checked once a
/// second while there are any, those that take too long. Owned by the host's main part and by its connections. Threads:
/// the main thread until the event loop runs, then the event loop's.
class HttpServer final : public std::enable_shared_from_this<HttpServer>,
                         private System::Commons::Diagnostics::Logging::Loggable<HttpServer>
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
    class Connection;
    using Clock = std::chrono::steady_clock;
    using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    void Accept();
    void AcceptLater();
    void ServeWaiting();
    void Serve(ClientStream::Socket socket);
    [[nodiscard]] bool TryAdd(Connection& connection, const ClientNetwork& network);
    void Remove(Connection& connection);
    /// `unsentBytes`: of the response that has to be kept for the client.
    void Move(Connection& connection, ConnectionStage stage, std::size_t unsentBytes = 0);
    static void End(const std::vector<ConnectionTable::Entry*>& entries);
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
    std::atomic<bool> isStopping = false;

    System::Commons::Mutex mutex;
    ConnectionTable table OXA_GUARDED_BY(mutex);
    std::function<void()> drained OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Http
