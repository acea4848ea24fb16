#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <poll.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Oxa::Tests::Support
{

/// A client of TLS on a socket that is not its own. Nothing waits: every function does what it can. Verifies nothing.
class TlsClient final
{
public:
    /// `setUp`: of what the client offers.
    explicit TlsClient(int descriptor, const std::function<void(SSL&)>& setUp = {})
    {
        SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
        // What the client offers, not what it would accept itself, is tested.
        SSL_CTX_set_security_level(context.get(), 0);
        SSL_CTX_set_app_data(context.get(), this);
        SSL_CTX_sess_set_new_cb(context.get(),
                                [](SSL* ssl, SSL_SESSION* session)
                                {
                                    auto* const self =
                                        static_cast<TlsClient*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(ssl)));
                                    self->session.reset(session);
                                    return 1;
                                });
        ssl.reset(SSL_new(context.get()));
        SSL_set_fd(ssl.get(), descriptor);
        SSL_set_connect_state(ssl.get());
        if (setUp)
        {
            setUp(*ssl);
        }
    }

    TlsClient(const TlsClient&) = delete;
    TlsClient& operator=(const TlsClient&) = delete;

    ~TlsClient()
    {
        // A session whose connection ended without a word could not be resumed.
        SSL_set_shutdown(ssl.get(), SSL_SENT_SHUTDOWN);
    }

    /// True when the handshake is complete.
    bool Handshake()
    {
        ERR_clear_error();
        const int result = SSL_do_handshake(ssl.get());
        Note(result);
        return result == 1;
    }

    void Write(std::string_view bytes)
    {
        std::size_t count = 0;
        ERR_clear_error();
        if (SSL_write_ex(ssl.get(), bytes.data(), bytes.size(), &count) != 1 || count != bytes.size())
        {
            throw std::runtime_error("cannot write to the TLS server");
        }
    }

    /// Sends a KeyUpdate of TLS 1.3, which carries no application bytes. `kind`: SSL_KEY_UPDATE_…. False when the
    /// server has ended the connection.
    bool UpdateKey(int kind = SSL_KEY_UPDATE_NOT_REQUESTED)
    {
        return SSL_key_update(ssl.get(), kind) == 1 && Handshake();
    }

    /// What has come.
    BasicString Read()
    {
        BasicString text(65536, '\0');
        std::size_t count = 0;
        ERR_clear_error();
        const int result = SSL_read_ex(ssl.get(), text.data(), text.size(), &count);
        Note(result);
        text.resize(result == 1 ? count : 0);
        return text;
    }

    /// Whether the server has ended the connection, and said so (close_notify) before.
    [[nodiscard]] bool IsClosed() const
    {
        return SSL_get_error(ssl.get(), lastResult) == SSL_ERROR_ZERO_RETURN;
    }

    /// Of the server's alert; empty without one.
    [[nodiscard]] const BasicString& GetAlert() const
    {
        return alert;
    }

    [[nodiscard]] SSL& Get() const
    {
        return *ssl;
    }

    using Session = std::unique_ptr<SSL_SESSION, decltype(&SSL_SESSION_free)>;

    /// The last session that the server has offered to resume, or null.
    Session TakeSession()
    {
        return std::exchange(session, Session(nullptr, &SSL_SESSION_free));
    }

private:
    void Note(int result)
    {
        lastResult = result;
        if (result != 1 && SSL_get_error(ssl.get(), result) == SSL_ERROR_SSL)
        {
            alert = ERR_reason_error_string(ERR_peek_error());
        }
    }

    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context{SSL_CTX_new(TLS_client_method()), &SSL_CTX_free};
    std::unique_ptr<SSL, decltype(&SSL_free)> ssl{nullptr, &SSL_free};
    Session session{nullptr, &SSL_SESSION_free};
    BasicString alert;
    int lastResult = 1;
};

} // namespace Oxa::Tests::Support
