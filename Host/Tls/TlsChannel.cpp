#include "Host/Tls/TlsChannel.hpp"

#include "Host/Tls/Certificate.hpp"

#include <openssl/err.h>

// Every operation begins with an empty error queue: an error that another connection left on the thread would be taken
// for one of this connection.

namespace Oxa::Host::Tls
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// Of a client, without application bytes between them: a handshake takes three at most, and further ones (KeyUpdate of
/// TLS 1.3, ClientHello of 1.2) are rare. OpenSSL has no bound and reads on as long as they come; this is the one of
/// other TLS libraries.
constexpr int maximumHandshakeMessages = 32;

/// The protocol: TLS 1.2 and 1.3 with forward secrecy and authenticated ciphers, of which the fast ones come first.
void SetProtocol(SSL_CTX& context)
{
    // Not constant: the library casts that away.
    char groups[] = "X25519:P-256"; // NOLINT(*-avoid-c-arrays)
    constexpr const char* ciphers = "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:"
                                    "ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305:"
                                    "ECDHE-ECDSA-AES256-GCM-SHA384:ECDHE-RSA-AES256-GCM-SHA384";
    constexpr const char* ciphers13 = "TLS_AES_128_GCM_SHA256:TLS_CHACHA20_POLY1305_SHA256:TLS_AES_256_GCM_SHA384";
    constexpr int securityLevel = 2;
    SSL_CTX_set_security_level(&context, securityLevel);
    SSL_CTX_set_options(&context, SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_PRIORITIZE_CHACHA | SSL_OP_NO_RENEGOTIATION |
                                      SSL_OP_NO_COMPRESSION | SSL_OP_CLEANSE_PLAINTEXT);
    // Buffers are given back while a connection is idle; one read of the socket may fetch several records. The chain is
    // the one of the file: building one from it for each handshake would take a tenth of its time.
    SSL_CTX_set_mode(&context, SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE |
                                   SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER | SSL_MODE_NO_AUTO_CHAIN);
    SSL_CTX_set_read_ahead(&context, 1);
    // Sessions are resumed by tickets, whose keys live as long as the context.
    SSL_CTX_set_session_cache_mode(&context, SSL_SESS_CACHE_OFF);
    if (SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION) != 1 ||
        SSL_CTX_set_cipher_list(&context, ciphers) != 1 || SSL_CTX_set_ciphersuites(&context, ciphers13) != 1 ||
        SSL_CTX_set1_groups_list(&context, groups) != 1)
    {
        ThrowError("cannot set up TLS");
    }
}

/// Refuses clients that want to speak another protocol.
int SelectProtocol(SSL* /*ssl*/, const unsigned char** selected, unsigned char* selectedBytes,
                   const unsigned char* offered, unsigned int offeredBytes, void* /*unused*/)
{
    static constexpr unsigned char supported[] = "\x08http/1.1";
    unsigned char* found = nullptr;
    const int result =
        SSL_select_next_proto(&found, selectedBytes, supported, sizeof(supported) - 1, offered, offeredBytes);
    *selected = found;
    return result == OPENSSL_NPN_NEGOTIATED ? SSL_TLSEXT_ERR_OK : SSL_TLSEXT_ERR_ALERT_FATAL;
}

} // namespace

UniqueContext MakeContext(const Certificate& certificate)
{
    ERR_clear_error();
    UniqueContext context(SSL_CTX_new(TLS_server_method()));
    if (!context)
    {
        ThrowError("cannot set up TLS");
    }
    SetProtocol(*context);
    SSL_CTX_set_alpn_select_cb(context.get(), &SelectProtocol, nullptr);
    certificate.Use(*context);
    return context;
}

TlsChannel::TlsChannel(SSL_CTX& context, int descriptor, bool hasIssuedCertificate)
    : ssl(SSL_new(&context)), hasIssuedCertificate(hasIssuedCertificate)
{
    if (!ssl || SSL_set_fd(ssl.get(), descriptor) != 1)
    {
        ThrowError("cannot encrypt a connection");
    }
    SSL_set_accept_state(ssl.get());
    SSL_set_msg_callback(ssl.get(), &CountMessage);
    SSL_set_msg_callback_arg(ssl.get(), this);
}

/// Called inside the library's operations. Ends a connection whose messages could keep one read busy for ever.
void TlsChannel::CountMessage(int isWritten, int /*version*/, int contentType, const void* /*bytes*/,
                              std::size_t /*byteCount*/, SSL* ssl, void* channel) noexcept
{
    auto& self = *static_cast<TlsChannel*>(channel);
    if (isWritten == 0 && contentType == SSL3_RT_HANDSHAKE && ++self.handshakeMessages > maximumHandshakeMessages)
    {
        // As if the client had closed its side: the read in progress takes no further record and ends.
        SSL_set_shutdown(ssl, SSL_get_shutdown(ssl) | SSL_RECEIVED_SHUTDOWN);
        self.Log(LogLevel::Debug, "a TLS connection ends: {0} handshake messages without application bytes",
                 self.handshakeMessages);
    }
}

TlsChannel::Progress TlsChannel::Read(std::span<char> space, std::size_t& count) noexcept
{
    ERR_clear_error();
    const Progress progress = Check(SSL_read_ex(ssl.get(), space.data(), space.size(), &count));
    handshakeMessages = progress == Progress::Done ? 0 : handshakeMessages;
    return progress;
}

TlsChannel::Progress TlsChannel::Write(std::string_view bytes, std::size_t& count) noexcept
{
    ERR_clear_error();
    return Check(SSL_write_ex(ssl.get(), bytes.data(), bytes.size(), &count));
}

bool TlsChannel::HasInput() const noexcept
{
    return SSL_has_pending(ssl.get()) == 1;
}

void TlsChannel::EndWriting() noexcept
{
    // During the handshake and after an error the protocol forbids it.
    if (!hasFailed && SSL_is_init_finished(ssl.get()) == 1)
    {
        ERR_clear_error();
        SSL_shutdown(ssl.get());
    }
}

TlsChannel::Progress TlsChannel::Check(int result) noexcept
{
    if (result == 1)
    {
        return Progress::Done;
    }
    switch (SSL_get_error(ssl.get(), result))
    {
    case SSL_ERROR_WANT_READ:
        return Progress::WaitsForInput;
    case SSL_ERROR_WANT_WRITE:
        return Progress::WaitsForOutput;
    case SSL_ERROR_ZERO_RETURN:
        return Progress::Ended;
    default:
        Fail();
        return Progress::Ended;
    }
}

void TlsChannel::Fail() noexcept
{
    hasFailed = true;
    const unsigned long error = ERR_peek_last_error();
    if (error != 0)
    {
        const char* const reason = ERR_reason_error_string(error);
        Log(LogLevel::Debug, "a TLS connection ends: {0}", reason != nullptr ? reason : "unknown error");
    }
    ERR_clear_error();
}

} // namespace Oxa::Host::Tls
