#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <functional>
#include <unordered_set>

namespace Oxa::Host::Http
{

class HttpConnection;
class IHttpHandler;

/// Listens, keeps its connections within bounds and ends those that wait too long: one timer looks at all of them once
/// a second, and only while there are any. Owned by the host's main part; must outlive its connections. Threads: as
/// noted; handlers run on the event loop.
class HttpServer final : private System::Commons::Diagnostics::Logging::Loggable<HttpServer>
{
public:
    using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    /// `handler` is borrowed.
    HttpServer(boost::asio::io_context& context, const Configuration::HttpConfiguration& configuration,
               IHttpHandler& handler);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    ~HttpServer();

    /// Throws InvalidOperationException, with address and cause, when that cannot be done.
    void Listen();

    /// Requires: `Listen` has returned.
    [[nodiscard]] uint16 GetPort() const;

    /// Takes no new connections, ends those without a whole request, and calls `drained` when the others are through.
    /// Threads: the event loop.
    void Stop(std::function<void()> drained);

    /// Ends every connection, with or without a request. Threads: the event loop.
    void EndConnections();

    // For connections.

    [[nodiscard]] const Configuration::HttpConfiguration& GetConfiguration() const noexcept
    {
        return configuration;
    }

    [[nodiscard]] IHttpHandler& GetHandler() const noexcept
    {
        return handler;
    }

    /// Counts the timer's seconds.
    [[nodiscard]] uint32 GetTick() const noexcept
    {
        return tick.load(std::memory_order_relaxed);
    }

    [[nodiscard]] bool IsStopping() const noexcept
    {
        return isStopping;
    }

    /// Any thread. The connection is not looked at any more when this returns.
    void Remove(HttpConnection& connection);

private:
    using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    void Accept();
    void AcceptLater();
    void OnAccepted(Socket socket);
    [[nodiscard]] bool TryAdd(HttpConnection& connection);
    void StartSweep();
    void Sweep();

    boost::asio::io_context& context;
    const Configuration::HttpConfiguration configuration;
    IHttpHandler& handler;
    Acceptor acceptor;
    boost::asio::steady_timer acceptTimer;
    boost::asio::steady_timer sweepTimer;
    std::atomic<uint32> tick = 0;
    std::atomic<bool> isStopping = false;
    bool isSweeping = false;
    std::function<void()> drained;

    System::Commons::Mutex mutex;
    std::unordered_set<HttpConnection*> connections;
};

} // namespace Oxa::Host::Http
