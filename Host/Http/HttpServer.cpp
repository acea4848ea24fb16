#include "Host/Http/HttpServer.hpp"

#include "Host/Http/AnswerWriter.hpp"
#include "Host/Http/HttpConnection.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>

#include <utility>

namespace Oxa::Host::Http
{

using System::Commons::MutexLock;
namespace asio = boost::asio;
using System::Commons::InvalidOperationException;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::chrono::seconds sweepPeriod{1};
constexpr std::chrono::milliseconds acceptPause{100};

} // namespace

HttpServer::HttpServer(asio::io_context& context, const Configuration::HttpConfiguration& configuration,
                       IHttpHandler& handler)
    : context(context),
      configuration(configuration),
      handler(handler),
      acceptor(context),
      acceptTimer(context),
      sweepTimer(context)
{
}

HttpServer::~HttpServer() = default;

void HttpServer::Listen()
{
    const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(configuration.address), configuration.port);
    try
    {
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
    }
    catch (const boost::system::system_error& error)
    {
        throw InvalidOperationException::Create("cannot listen on {0} port {1}: {2}", configuration.address,
                                                configuration.port, error.code().message());
    }
    Accept();
}

uint16 HttpServer::GetPort() const
{
    return acceptor.local_endpoint().port();
}

void HttpServer::Accept()
{
    acceptor.async_accept(
        [this](const boost::system::error_code& error, Socket socket)
        {
            if (isStopping)
            {
                return;
            }
            if (error)
            {
                Log(LogLevel::Warning, "cannot accept a connection: {0}", error.message());
                AcceptLater();
                return;
            }
            OnAccepted(std::move(socket));
            Accept();
        });
}

/// The process or the machine has run out of something; trying at once would only burn the processor.
void HttpServer::AcceptLater()
{
    acceptTimer.expires_after(acceptPause);
    acceptTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error && !isStopping)
            {
                Accept();
            }
        });
}

void HttpServer::OnAccepted(Socket socket)
{
    boost::system::error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    socket.non_blocking(true, ignored);
    const auto connection = std::make_shared<HttpConnection>(*this, std::move(socket));
    if (!TryAdd(*connection))
    {
        connection->Refuse();
        return;
    }
    StartSweep();
    connection->Start();
}

bool HttpServer::TryAdd(HttpConnection& connection)
{
    const MutexLock lock(mutex);
    return connections.size() < configuration.maximumConnections && connections.insert(&connection).second;
}

void HttpServer::Remove(HttpConnection& connection)
{
    bool isDrained = false;
    {
        const MutexLock lock(mutex);
        isDrained = connections.erase(&connection) != 0 && connections.empty() && isStopping;
    }
    if (isDrained)
    {
        asio::post(context, [this] { std::exchange(drained, nullptr)(); });
    }
}

void HttpServer::StartSweep()
{
    if (isSweeping)
    {
        return;
    }
    isSweeping = true;
    sweepTimer.expires_after(sweepPeriod);
    sweepTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                Sweep();
            }
        });
}

void HttpServer::Sweep()
{
    const uint32 now = tick.fetch_add(1) + 1;
    const MutexLock lock(mutex);
    for (HttpConnection* const connection : connections)
    {
        connection->EndWhenLate(now);
    }
    isSweeping = false;
    if (!connections.empty())
    {
        StartSweep();
    }
}

void HttpServer::Stop(std::function<void()> whenDrained)
{
    boost::system::error_code ignored;
    acceptor.close(ignored);
    const MutexLock lock(mutex);
    isStopping = true;
    drained = std::move(whenDrained);
    for (HttpConnection* const connection : connections)
    {
        connection->EndWhenIdle();
    }
    if (connections.empty())
    {
        asio::post(context, [this] { std::exchange(drained, nullptr)(); });
    }
}

void HttpServer::EndConnections()
{
    const MutexLock lock(mutex);
    for (HttpConnection* const connection : connections)
    {
        connection->End();
    }
}

} // namespace Oxa::Host::Http
