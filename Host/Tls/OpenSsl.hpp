#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>

// Ownership and errors of the TLS library's objects.

namespace Oxa::Host::Tls
{

template <auto Free>
struct Deleter
{
    template <class T>
    void operator()(T* object) const noexcept
    {
        Free(object);
    }
};

using UniqueBio = std::unique_ptr<BIO, Deleter<&BIO_free_all>>;
using UniqueKey = std::unique_ptr<EVP_PKEY, Deleter<&EVP_PKEY_free>>;
using UniqueX509 = std::unique_ptr<X509, Deleter<&X509_free>>;
using UniqueContext = std::unique_ptr<SSL_CTX, Deleter<&SSL_CTX_free>>;
using UniqueSsl = std::unique_ptr<SSL, Deleter<&SSL_free>>;

/// The text of this thread's last error; forgets its errors.
[[nodiscard]] BasicString TakeError();

/// Throws InvalidOperationException, "{subject}: {text of this thread's last error}".
[[noreturn]] void ThrowError(const BasicString& subject);

} // namespace Oxa::Host::Tls
