#pragma once

#include "Host/Http/SecureChannel.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace Oxa::System::Nm
{
class NotificationManager;
}

namespace Oxa::Host::Tls
{

struct CertificateSettings
{
    /// The folder of certificates and keys.
    BasicString folder;
    /// Names and IP addresses that a certificate made here names. Asked each time, because they may change.
    std::function<std::vector<BasicString>()> getNames;
};

struct CertificateInfo
{
    BasicString path;
    /// SHA-256 of the certificate, as pairs of hexadecimal digits with colons between them.
    BasicString fingerprint;
    /// UTC, ISO 8601.
    BasicString end;
};

/// Offers the certificate that clients see, and encrypts their connections with it. The folder holds "NAME.pem" or
/// "NAME.crt", the certificate followed by those that issued it, each with its private key in "NAME.key" or the same
/// file. The last name wins. Without any, or while none can be used, a self-signed certificate is made and renewed.
/// Threads: safe from any thread.
class ICertificateStore
{
public:
    /// Of the certificate that is made here: before all other names.
    static constexpr const char* selfSignedName = "00-self-signed.pem";

    virtual ~ICertificateStore() = default;

    /// Makes the folder if it does not exist, and begins with the last certificate that can be used. Throws
    /// InvalidOperationException or TemporaryException, with path and cause, when none can be made either.
    virtual void Load() = 0;

    /// Reads the folder again, for new connections. When the last certificate cannot be used, that is logged and
    /// published, and the one in use stays.
    virtual void Reload() noexcept = 0;

    /// To be called every hour: the same, but what was told already is not told again. Limits also how long a session
    /// can be resumed, and renews the self-signed certificate.
    virtual void Refresh() noexcept = 0;

    /// Requires: `Load` has returned.
    [[nodiscard]] virtual std::unique_ptr<Http::ISecureChannel> Accept(int descriptor) = 0;

    /// The certificate that `Load` would begin with; empty when it would make one. Changes nothing. `faults`: why
    /// others cannot be used.
    [[nodiscard]] virtual CertificateInfo Find(std::vector<BasicString>& faults) const = 0;
};

/// `CreateStore`, the entry function of the library that implements it. The caller owns the result; `notifications` is
/// borrowed.
using CreateStoreFunction = ICertificateStore*(const CertificateSettings& settings,
                                               System::Nm::NotificationManager& notifications);

} // namespace Oxa::Host::Tls
