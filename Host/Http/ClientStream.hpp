#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace Oxa::Host::Http
{

/// The bytes of one client's connection. Owned by its connection, which must live until the handler of the operation in
/// progress has run. Threads: one at a time; `Abort` from any while the stream is open.
class ClientStream final
{
public:
    using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    /// Takes over a connected socket.
    explicit ClientStream(Socket newSocket);
    ClientStream(const ClientStream&) = delete;
    ClientStream& operator=(const ClientStream&) = delete;
    ~ClientStream() = default;

    /// Reads what has come, at least one byte, or waits for it. `handler`: (error, count of bytes); an error also at
    /// the client's end. One at a time.
    template <class Handler>
    void AsyncReadSome(std::span<char> space, Handler&& handler)
    {
        socket.async_read_some(boost::asio::buffer(space.data(), space.size()), std::forward<Handler>(handler));
    }

    /// Writes without waiting. The number of bytes that were written, fewer than given when the client reads too
    /// slowly; empty when the connection is broken.
    [[nodiscard]] std::optional<std::size_t> TryWrite(std::string_view bytes) noexcept;

    /// Writes all bytes, which must stay where they are: after `TryWrite` those that it left. `handler`: (error, count
    /// of bytes). Not while reading.
    template <class Handler>
    void AsyncWrite(std::string_view bytes, Handler&& handler)
    {
        boost::asio::async_write(socket, boost::asio::buffer(bytes.data(), bytes.size()),
                                 std::forward<Handler>(handler));
    }

    /// Tells the client that no more bytes come. Those that were written still arrive, if the client's are read on.
    void ShutdownSend() noexcept;

    /// The operation in progress fails, or the next one. Requires: the stream is not being closed at the same time.
    void Abort() noexcept;

    /// The operation in progress fails. Does nothing when the stream is closed.
    void Close() noexcept;

    [[nodiscard]] bool IsOpen() const noexcept
    {
        return socket.is_open();
    }

    /// Whether the bytes are encrypted (TLS).
    [[nodiscard]] bool IsSecure() const noexcept
    {
        return false;
    }

    /// Of the socket. Requires: the stream is open.
    [[nodiscard]] int GetDescriptor() noexcept
    {
        return socket.native_handle();
    }

    /// Of the client or its proxy. Empty when the client has disconnected.
    [[nodiscard]] BasicString GetClientAddress() const;

private:
    Socket socket;
};

} // namespace Oxa::Host::Http
