#include "Host/Http/HttpServer.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <boost/asio/ip/address.hpp>

#include <utility>

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using System::Commons::InvalidOperationException;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::chrono::seconds sweepPeriod{1};
constexpr std::chrono::milliseconds acceptPause{100};

} // namespace

HttpServer::HttpServer(asio::io_context& context, const Configuration::HttpConfiguration& configuration,
                       HttpHandler handler)
    : connections(std::make_shared<ConnectionSet>(context, configuration, std::move(handler))),
      acceptor(context),
      acceptTimer(context),
      sweepTimer(context)
{
}

HttpServer::~HttpServer() = default;

void HttpServer::Listen()
{
    const auto& configuration = connections->GetConfiguration();
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
        [this](const boost::system::error_code& error, HttpConnection::Socket socket)
        {
            if (connections->IsStopping())
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

/// The process or the machine has run out of a resource; trying at once would only load the processor.
void HttpServer::AcceptLater()
{
    acceptTimer.expires_after(acceptPause);
    acceptTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error && !connections->IsStopping())
            {
                Accept();
            }
        });
}

void HttpServer::OnAccepted(HttpConnection::Socket socket)
{
    boost::system::error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    socket.non_blocking(true, ignored);
    std::make_shared<HttpConnection>(connections, std::move(socket))->Start();
    if (!isSweeping)
    {
        StartSweep();
    }
}

void HttpServer::StartSweep()
{
    isSweeping = true;
    sweepTimer.expires_after(sweepPeriod);
    sweepTimer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (error)
            {
                return;
            }
            isSweeping = connections->Sweep();
            if (isSweeping)
            {
                StartSweep();
            }
        });
}

void HttpServer::Stop(std::function<void()> whenDrained)
{
    boost::system::error_code ignored;
    acceptor.close(ignored);
    connections->Stop(std::move(whenDrained));
}

void HttpServer::EndConnections()
{
    connections->EndAll();
}

} // namespace Oxa::Host::Http
