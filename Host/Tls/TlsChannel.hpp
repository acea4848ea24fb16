#pragma once

#include "Host/Http/SecureChannel.hpp"
#include "Host/Tls/OpenSsl.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace Oxa::Host::Tls
{

class Certificate;

/// The protocol and the certificate of new connections. Sessions can be resumed as long as the context exists. Throws
/// InvalidOperationException for a key that is too weak.
[[nodiscard]] UniqueContext MakeContext(const Certificate& certificate);

/// One connection's TLS, directly on its socket: a small record is encrypted into one system call, and buffers exist
/// only while they hold bytes. Failed handshakes are logged at level debug. A client that sends handshake messages
/// instead of application bytes is disconnected. Threads: one at a time.
class TlsChannel final : public Http::ISecureChannel,
                         private System::Commons::Diagnostics::Logging::Loggable<TlsChannel>
{
public:
    /// Throws InvalidOperationException when memory is short.
    TlsChannel(SSL_CTX& context, int descriptor, bool hasIssuedCertificate);
    TlsChannel(const TlsChannel&) = delete;
    TlsChannel& operator=(const TlsChannel&) = delete;
    ~TlsChannel() override = default;

    [[nodiscard]] Progress Read(std::span<char> space, std::size_t& count) noexcept override;
    [[nodiscard]] Progress Write(std::string_view bytes, std::size_t& count) noexcept override;
    [[nodiscard]] bool HasInput() const noexcept override;
    void EndWriting() noexcept override;

    [[nodiscard]] bool HasIssuedCertificate() const noexcept override
    {
        return hasIssuedCertificate;
    }

private:
    static void CountMessage(int isWritten, int version, int contentType, const void* bytes, std::size_t byteCount,
                             SSL* ssl, void* channel) noexcept;
    [[nodiscard]] Progress Check(int result) noexcept;
    void Fail() noexcept;

    const UniqueSsl ssl;
    const bool hasIssuedCertificate;
    bool hasFailed = false;
    /// Of the client, since its last application bytes.
    int handshakeMessages = 0;
};

} // namespace Oxa::Host::Tls
