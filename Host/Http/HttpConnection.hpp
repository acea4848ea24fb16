#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Http/RequestReader.hpp"
#include "Host/Http/ResponseWriter.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <unordered_set>

namespace Oxa::Host::Http
{

class HttpConnection;

/// The open connections of one server, and what they need of it. Shared by both. Threads: safe from any thread.
class ConnectionSet final
{
public:
    ConnectionSet(boost::asio::io_context& context, const Configuration::HttpConfiguration& configuration,
                  HttpHandler handler);
    ConnectionSet(const ConnectionSet&) = delete;
    ConnectionSet& operator=(const ConnectionSet&) = delete;

    /// False: too many connections are open.
    [[nodiscard]] bool TryAdd(HttpConnection& connection);
    /// The connection is not used any more when this returns.
    void Remove(HttpConnection& connection);

    /// To be called once a second: ends the connections whose deadline is over. False: there are no connections.
    [[nodiscard]] bool Sweep();

    /// Ends connections without a complete request, and posts `whenDrained` to the event loop when the others have
    /// ended.
    void Stop(std::function<void()> whenDrained);

    /// Ends every connection, with or without a request.
    void EndAll();

    [[nodiscard]] const Configuration::HttpConfiguration& GetConfiguration() const noexcept
    {
        return configuration;
    }

    [[nodiscard]] const HttpHandler& GetHandler() const noexcept
    {
        return handler;
    }

    /// Counts calls of `Sweep`, that is seconds.
    [[nodiscard]] uint32 GetTick() const noexcept
    {
        return tick.load(std::memory_order_relaxed);
    }

    [[nodiscard]] bool IsStopping() const noexcept
    {
        return isStopping;
    }

private:
    boost::asio::io_context& context;
    const Configuration::HttpConfiguration configuration;
    const HttpHandler handler;
    std::atomic<uint32> tick = 0;
    std::atomic<bool> isStopping = false;

    System::Commons::Mutex mutex;
    std::unordered_set<HttpConnection*> connections OXA_GUARDED_BY(mutex);
    std::function<void()> drained OXA_GUARDED_BY(mutex);
};

/// One client's connection: reads a request, passes it to the handler, writes the response, and so on, in order. At any
/// time there is either one operation of the socket or one request in progress, so its members need no lock.
/// Kept alive by that operation or request. Threads: as the handlers; `End…` from any.
class HttpConnection final : public IHttpExchange, public std::enable_shared_from_this<HttpConnection>
{
public:
    using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    HttpConnection(std::shared_ptr<ConnectionSet> connections, Socket socket);
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;
    ~HttpConnection() override;

    /// Serves the client, or tells it that there are too many connections.
    void Start();

    // Requires: the lock of the connections is held, so that the socket cannot be closed meanwhile.

    void EndWhenLate(uint32 now) noexcept;
    void EndWhenIdle() noexcept;
    void End() noexcept;

    [[nodiscard]] const HttpRequest& GetRequest() const noexcept override;
    [[nodiscard]] BasicString GetClientAddress() const override;
    void Send(const HttpResponse& response) override;
    void Resume() override;

private:
    void Read();
    void Process();
    void BeginPart();
    [[nodiscard]] Handling HandleRequest();
    [[nodiscard]] bool Flush();
    [[nodiscard]] bool OnWritten();
    void EndAfterResponse();
    void Linger();
    void Close();
    void SetDeadline(std::chrono::seconds timeout) noexcept;

    const std::shared_ptr<ConnectionSet> connections;
    Socket socket;
    RequestReader reader;
    /// Whose time limit is running.
    RequestReader::Part part = RequestReader::Part::None;
    ResponseWriter writer;
    std::size_t lingeredBytes = 0;
    bool keepsConnection = true;
    /// In ticks.
    std::atomic<uint32> deadline;
    /// No complete request waits for its response, so a server that stops need not wait for this connection.
    std::atomic<bool> isIdle = true;
};

} // namespace Oxa::Host::Http
