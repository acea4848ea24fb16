#include "Host/Http/ClientStream.hpp"

#include <sys/socket.h>

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using boost::system::error_code;

namespace
{

/// Clients of IP version 4 have such addresses also where the server listens for both versions.
asio::ip::address Normalize(const asio::ip::address& address)
{
    return address.is_v6() && address.to_v6().is_v4_mapped()
               ? asio::ip::address(asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()))
               : address;
}

} // namespace

ClientStream::ClientStream(Socket newSocket, const SecureChannelFactory& secureChannels)
    : socket(std::move(newSocket)), secureChannels(secureChannels)
{
    error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    socket.non_blocking(true, ignored);
}

void ClientStream::Open()
{
    if (secureChannels)
    {
        channel = secureChannels(socket.native_handle());
    }
}

bool ClientStream::HasInput() noexcept
{
    char byte = 0;
    return recv(socket.native_handle(), &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) > 0;
}

std::optional<std::size_t> ClientStream::TryWrite(std::string_view bytes) noexcept
{
    if (!channel)
    {
        error_code error;
        const std::size_t written = socket.write_some(asio::buffer(bytes.data(), bytes.size()), error);
        return error && error != asio::error::would_block ? std::nullopt : std::optional(written);
    }
    std::size_t written = 0;
    while (written < bytes.size())
    {
        std::size_t count = 0;
        writeProgress = channel->Write(bytes.substr(written), count);
        if (writeProgress == Progress::Ended)
        {
            return std::nullopt;
        }
        if (writeProgress != Progress::Done)
        {
            break;
        }
        written += count;
    }
    return written;
}

void ClientStream::ShutdownSend() noexcept
{
    if (channel)
    {
        channel->EndWriting();
    }
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
    return error ? BasicString() : Normalize(endpoint.address()).to_string();
}

asio::ip::address ClientStream::GetLocalAddress() const noexcept
{
    error_code error;
    return Normalize(socket.local_endpoint(error).address());
}

} // namespace Oxa::Host::Http
