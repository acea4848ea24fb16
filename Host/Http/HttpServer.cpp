#include "Host/Http/HttpServer.hpp"

#include "Host/Http/ConnectionGroup.hpp"
#include "Host/Http/HttpConnection.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <boost/asio/ip/address.hpp>
#include <netinet/tcp.h>

#include <chrono>
#include <exception>
#include <utility>

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using boost::system::error_code;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::chrono::milliseconds acceptPause{100};
/// On the loopback interface segments of 64 KiB would be larger than the buffers; the receiver of a part of one waits
/// 40 ms for the rest before it acknowledges. Segments of a network are smaller.
constexpr int maximumSegmentBytes = 8192;
/// In one step of the event loop, so that connections which are being served have their turn.
constexpr int maximumAccepts = 64;

} // namespace

HttpServer::HttpServer(asio::io_context& context, const Configuration::HttpConfiguration& configuration,
                       HttpHandler handler, SessionCheck hasSession, SecureChannelFactory secureChannels)
    : context(context),
      connections(std::make_shared<ConnectionGroup>(context, HttpService{configuration, HostNames(configuration.hosts),
                                                                         std::move(handler), std::move(hasSession),
                                                                         std::move(secureChannels)})),
      acceptor(context),
      acceptTimer(context)
{
}

void HttpServer::Listen()
{
    const Configuration::HttpConfiguration& configuration = connections->GetService().configuration;
    const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(configuration.address), configuration.port);
    try
    {
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        // Connections inherit these.
        acceptor.set_option(asio::socket_base::send_buffer_size(static_cast<int>(configuration.sendBufferBytes)));
        acceptor.set_option(asio::socket_base::receive_buffer_size(receiveBufferBytes));
        acceptor.set_option(asio::detail::socket_option::integer<IPPROTO_TCP, TCP_MAXSEG>(maximumSegmentBytes));
        acceptor.bind(endpoint);
        acceptor.listen();
        acceptor.non_blocking(true);
    }
    catch (const boost::system::system_error& error)
    {
        throw System::Commons::InvalidOperationException::Create(
            "cannot listen on {0} port {1}: {2}", configuration.address, configuration.port, error.code().message());
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
        [this](const error_code& error, ClientStream::Socket socket)
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
            Serve(std::move(socket));
            ServeWaiting();
            Accept();
        });
}

/// Takes more than one in a step when many clients connect: they wait in a queue of bounded length.
void HttpServer::ServeWaiting()
{
    for (int count = 1; count < maximumAccepts; ++count)
    {
        ClientStream::Socket socket(context);
        error_code error;
        acceptor.accept(socket, error);
        if (error)
        {
            // None waits, or the next `Accept` reports the cause.
            return;
        }
        Serve(std::move(socket));
    }
}

/// The process or the machine has run out of a resource; trying at once would only load the processor.
void HttpServer::AcceptLater()
{
    acceptTimer.expires_after(acceptPause);
    acceptTimer.async_wait(
        [this](const error_code& error)
        {
            if (!error && !connections->IsStopping())
            {
                Accept();
            }
        });
}

void HttpServer::Serve(ClientStream::Socket socket)
{
    error_code error;
    const auto client = socket.remote_endpoint(error);
    if (error)
    {
        // The client has gone.
        return;
    }
    try
    {
        ServeClient(connections, std::move(socket), client.address());
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Warning, "cannot serve a connection: {0}", exception.what());
    }
}

void HttpServer::Stop(std::function<void()> whenDrained)
{
    error_code ignored;
    acceptor.close(ignored);
    connections->Stop(std::move(whenDrained));
}

void HttpServer::EndConnections()
{
    connections->EndAll();
}

} // namespace Oxa::Host::Http
