#include "Host/Http/ClientStream.hpp"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

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

/// For clients that use "http" instead of "https".
constexpr std::string_view plainResponse =
    "HTTP/1.1 400 Bad Request\r\nContent-Type: application/problem+json\r\nContent-Length: 128\r\n"
    "Connection: close\r\n\r\n"
    R"({"type":"about:blank","title":"Bad Request","status":400,"code":"tls-required",)"
    R"("detail":"This port uses encryption: use https."})";
static_assert(plainResponse.size() - plainResponse.find('{') == 128, "the field Content-Length names it");

/// A client without encryption where it is expected costs no more than this.
void RefusePlain(int descriptor, std::span<const unsigned char> begin) noexcept
{
    const auto isOfHttp = [](unsigned char each)
    {
        return (each >= 'A' && each <= 'Z') || each == ' ' || each == '/';
    };
    if (std::ranges::all_of(begin, isOfHttp))
    {
        // Bytes that were not read would destroy the response on its way.
        constexpr std::size_t maximumBytes = std::size_t{64} * 1024;
        (void)recv(descriptor, nullptr, maximumBytes, MSG_TRUNC | MSG_DONTWAIT);
        (void)send(descriptor, plainResponse.data(), plainResponse.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
}

} // namespace

ClientStream::ClientStream(Socket newSocket, const asio::ip::address& client,
                           const SecureChannelFactory& secureChannels)
    : socket(std::move(newSocket)), clientAddress(Normalize(client)), secureChannels(secureChannels)
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

/// With `Partial` the socket is not readable before the rest has come, or the client's end.
ClientStream::Input ClientStream::CheckInput() noexcept
{
    // RFC 8446, section 5.1: the type of a record, its version and its length.
    constexpr std::size_t headerBytes = 5;
    constexpr unsigned char handshakeType = 22;
    // The first message of browsers has up to 2 KiB; OpenSSL waits for the rest of a longer one.
    constexpr std::size_t longestBytes = 4096;
    const int descriptor = socket.native_handle();
    std::array<unsigned char, headerBytes> header = {};
    const ssize_t count = recv(descriptor, header.data(), header.size(), MSG_PEEK | MSG_DONTWAIT);
    if (count <= 0)
    {
        return Input::Ended;
    }
    if (!IsSecure())
    {
        return Input::Complete;
    }
    if (header[0] != handshakeType)
    {
        RefusePlain(descriptor, std::span(header).first(static_cast<std::size_t>(count)));
        return Input::Ended;
    }
    // Of an incomplete header the length is 0.
    const std::size_t recordBytes = headerBytes + (std::size_t{header[3]} << 8U) + header[4];
    int needed = static_cast<int>(std::min(longestBytes, recordBytes));
    int available = 0;
    if (ioctl(descriptor, FIONREAD, &available) != 0)
    {
        return Input::Ended;
    }
    const bool isComplete = static_cast<std::size_t>(count) == headerBytes && available >= needed;
    pollfd polled{descriptor, POLLRDHUP, 0};
    if (!isComplete && poll(&polled, 1, 0) != 0)
    {
        return Input::Ended;
    }
    needed = isComplete ? 1 : needed;
    if (!isComplete || waitsForMore)
    {
        setsockopt(descriptor, SOL_SOCKET, SO_RCVLOWAT, &needed, sizeof needed);
    }
    waitsForMore = !isComplete;
    return isComplete ? Input::Complete : Input::Partial;
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

std::size_t ClientStream::TakePending(std::span<char> space) noexcept
{
    std::size_t count = 0;
    return channel && channel->HasInput() && channel->Read(space, count) == Progress::Done ? count : 0;
}

bool ClientStream::HasInput() noexcept
{
    char first = 0;
    return (channel && channel->HasInput()) || recv(socket.native_handle(), &first, 1, MSG_PEEK | MSG_DONTWAIT) >= 0 ||
           errno != EAGAIN;
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

asio::ip::address ClientStream::GetLocalAddress() const noexcept
{
    error_code error;
    return Normalize(socket.local_endpoint(error).address());
}

} // namespace Oxa::Host::Http
