#pragma once

#include "Host/Http/SecureChannel.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace Oxa::Host::Http
{

/// The bytes of one client's connection, plain or encrypted. The TLS handshake is a part of the first reading. Owned by
/// its connection, which must live until the handler of the operation in progress has run. Threads: one at a time;
/// `Abort` from any while the stream is open.
class ClientStream final
{
public:
    using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

    /// Takes over a connected socket. `client`: its other end. `secureChannels`: empty for a plain connection;
    /// borrowed.
    ClientStream(Socket newSocket, const boost::asio::ip::address& client, const SecureChannelFactory& secureChannels);
    ClientStream(const ClientStream&) = delete;
    ClientStream& operator=(const ClientStream&) = delete;
    ~ClientStream() = default;

    /// Reads what has come, at least one byte, or waits for it. `getSpace`: (), returns where the bytes go; called when
    /// it is needed, of an encrypted connection not before bytes have come. `handler`: (error, count of bytes), never
    /// called before this returns; an error also at the client's end. One at a time.
    template <class GetSpace, class Handler>
    void AsyncReadSome(GetSpace getSpace, Handler handler)
    {
        if (!channel)
        {
            const std::span<char> space = getSpace();
            socket.async_read_some(boost::asio::buffer(space.data(), space.size()), std::move(handler));
        }
        else if (channel->HasInput())
        {
            boost::asio::post(socket.get_executor(),
                              [this, getSpace = std::move(getSpace), handler = std::move(handler)]() mutable
                              { ReadEncrypted(std::move(getSpace), std::move(handler)); });
        }
        else
        {
            WaitToRead(Progress::WaitsForInput, std::move(getSpace), std::move(handler));
        }
    }

    /// The same for bytes that have come already, as `AsyncWaitForInput` tells: `handler` may be called at once.
    /// Requires: the connection is encrypted.
    template <class GetSpace, class Handler>
    void ReadSome(GetSpace getSpace, Handler handler)
    {
        ReadEncrypted(std::move(getSpace), std::move(handler));
    }

    /// The count of bytes that came with the ones that were read last, 0 without any. Only of an encrypted connection.
    [[nodiscard]] std::size_t TakePending(std::span<char> space) noexcept;

    /// Whether bytes of the client have come that were not read, or its end.
    [[nodiscard]] bool HasInput() noexcept;

    /// Waits for the first byte, with encryption for the whole message that begins the handshake, without reading it.
    /// `handler`: (error); an error also at the client's end, and when it does not encrypt although it should, which it
    /// is told.
    template <class Handler>
    void AsyncWaitForInput(Handler handler)
    {
        socket.async_wait(Socket::wait_read,
                          [this, handler = std::move(handler)](const Error& error) mutable
                          {
                              const Input input = error ? Input::Ended : CheckInput();
                              if (input == Input::Partial)
                              {
                                  AsyncWaitForInput(std::move(handler));
                                  return;
                              }
                              handler(input == Input::Complete ? Error() : Error(boost::asio::error::eof));
                          });
    }

    /// Begins the encryption, if there is to be one. Once, before anything is read or written, and only when the first
    /// bytes have come: until then a client costs a socket and no more. Throws what the factory throws.
    void Open();

    /// Writes without waiting. The number of bytes that were written, fewer than given when the client reads too
    /// slowly; empty when the connection is broken. After fewer, only `AsyncWrite` may follow, with the others.
    [[nodiscard]] std::optional<std::size_t> TryWrite(std::string_view bytes) noexcept;

    /// Writes the bytes that `TryWrite` left, which must stay where they are. `handler`: (error, count of bytes), never
    /// called before this returns. Not while reading.
    template <class Handler>
    void AsyncWrite(std::string_view bytes, Handler handler)
    {
        if (!channel)
        {
            boost::asio::async_write(socket, boost::asio::buffer(bytes.data(), bytes.size()), std::move(handler));
            return;
        }
        socket.async_wait(GetWait(writeProgress),
                          [this, bytes, handler = std::move(handler)](const Error& error) mutable
                          {
                              const auto written = error ? std::nullopt : TryWrite(bytes);
                              if (!written || *written == bytes.size())
                              {
                                  handler(written ? Error() : Error(boost::asio::error::broken_pipe), bytes.size());
                                  return;
                              }
                              AsyncWrite(bytes.substr(*written), std::move(handler));
                          });
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
        return static_cast<bool>(secureChannels);
    }

    /// Whether they are, with a certificate that was issued for the host, not made by the host itself.
    [[nodiscard]] bool HasIssuedCertificate() const noexcept
    {
        return channel != nullptr && channel->HasIssuedCertificate();
    }

    /// Of the socket. Requires: the stream is open.
    [[nodiscard]] int GetDescriptor() noexcept
    {
        return socket.native_handle();
    }

    /// Of the client or its proxy, also when it has disconnected.
    [[nodiscard]] const boost::asio::ip::address& GetClientAddress() const noexcept
    {
        return clientAddress;
    }

    /// The own address that the client connected to. Requires: the stream is open.
    [[nodiscard]] boost::asio::ip::address GetLocalAddress() const noexcept;

private:
    using Progress = ISecureChannel::Progress;
    using Error = boost::system::error_code;

    enum class Input : uint8
    {
        Partial,
        Complete,
        Ended
    };

    [[nodiscard]] Input CheckInput() noexcept;

    [[nodiscard]] static Socket::wait_type GetWait(Progress progress) noexcept
    {
        return progress == Progress::WaitsForInput ? Socket::wait_read : Socket::wait_write;
    }

    template <class GetSpace, class Handler>
    void ReadEncrypted(GetSpace getSpace, Handler handler)
    {
        std::size_t count = 0;
        const Progress progress = channel->Read(getSpace(), count);
        if (progress == Progress::Done || progress == Progress::Ended)
        {
            handler(progress == Progress::Done ? Error() : Error(boost::asio::error::eof), count);
            return;
        }
        WaitToRead(progress, std::move(getSpace), std::move(handler));
    }

    template <class GetSpace, class Handler>
    void WaitToRead(Progress progress, GetSpace getSpace, Handler handler)
    {
        socket.async_wait(
            GetWait(progress),
            [this, getSpace = std::move(getSpace), handler = std::move(handler)](const Error& error) mutable
            {
                if (error)
                {
                    handler(error, std::size_t{0});
                    return;
                }
                ReadEncrypted(std::move(getSpace), std::move(handler));
            });
    }

    Socket socket;
    /// The socket knows it only as long as the client is connected.
    const boost::asio::ip::address clientAddress;
    const SecureChannelFactory& secureChannels;
    /// Null: the bytes are plain, or the stream is not open.
    std::unique_ptr<ISecureChannel> channel;
    /// Whether the socket counts as readable only when the whole first message has come.
    bool waitsForMore = false;
    /// What `TryWrite` waits for.
    Progress writeProgress = Progress::WaitsForOutput;
};

} // namespace Oxa::Host::Http
