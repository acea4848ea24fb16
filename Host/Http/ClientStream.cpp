#include "Host/Http/ClientStream.hpp"

#include <boost/asio/error.hpp>
#include <boost/asio/ip/address.hpp>
#include <sys/socket.h>

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using boost::system::error_code;

ClientStream::ClientStream(Socket newSocket) : socket(std::move(newSocket))
{
    error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    socket.non_blocking(true, ignored);
}

std::optional<std::size_t> ClientStream::TryWrite(std::string_view bytes) noexcept
{
    error_code error;
    const std::size_t written = socket.write_some(asio::buffer(bytes.data(), bytes.size()), error);
    if (error && error != asio::error::would_block)
    {
        return std::nullopt;
    }
    return written;
}

void ClientStream::ShutdownSend() noexcept
{
    error_code ignored;
    socket.shutdown(Socket::shutdown_send, ignored);
}

void ClientStream::Abort() noexcept
{
    shutdown(socket.native_handle(), SHUT_RDWR);
}

void ClientStream::Close() noexcept
{
    error_code ignored;
    socket.close(ignored);
}

BasicString ClientStream::GetClientAddress() const
{
    error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    return error ? BasicString() : endpoint.address().to_string();
}

} // namespace Oxa::Host::Http
