#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace Oxa::Host::Http
{

/// Encrypts the bytes of one client's connection (TLS). The handshake is a part of the first operation. Nothing waits:
/// an operation is tried again when the socket is ready. Owned by the connection's ClientStream; borrows the socket.
/// Threads: one at a time.
class ISecureChannel
{
public:
    enum class Progress : uint8
    {
        /// Bytes were read or written.
        Done,
        /// To be tried again, with the same bytes, when the socket has input.
        WaitsForInput,
        /// The same when the socket takes output.
        WaitsForOutput,
        /// The client has closed its side, or the connection is broken.
        Ended
    };

    // Defined here: the implementation lies in a library that is loaded only where encryption is used.
    virtual ~ISecureChannel() = default;

    /// `count`: of the bytes that were read, set when `Done`.
    [[nodiscard]] virtual Progress Read(std::span<char> space, std::size_t& count) noexcept = 0;

    /// `count`: of the bytes that were written, perhaps not all, set when `Done`. Requires: `bytes` is not empty.
    [[nodiscard]] virtual Progress Write(std::string_view bytes, std::size_t& count) noexcept = 0;

    /// Whether bytes were taken from the socket that `Read` has not returned yet.
    [[nodiscard]] virtual bool HasInput() const noexcept = 0;

    /// Tells the client that no more bytes come; does not wait for it.
    virtual void EndWriting() noexcept = 0;

    /// Whether the certificate was issued for the host, not made by the host itself.
    [[nodiscard]] virtual bool HasIssuedCertificate() const noexcept = 0;
};

/// Makes the channel of an accepted connection from its socket. Throws when memory is short. Threads: safe from any
/// thread.
using SecureChannelFactory = std::function<std::unique_ptr<ISecureChannel>(int descriptor)>;

} // namespace Oxa::Host::Http
