#pragma once

#include "Host/Tls/OpenSsl.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <vector>

namespace Oxa::Host::Tls
{

using SystemTime = std::chrono::system_clock::time_point;

/// A server's certificate with its private key and the certificates that issued it. Immutable; movable.
class Certificate final
{
public:
    /// `keyPath`: a file of its own, or the same. Throws InvalidOperationException, "'{path}': {cause}", for a file
    /// that cannot be read or is not in the format PEM, one that other users could have changed, a key that others can
    /// read or that needs a passphrase, a key of another certificate, and a certificate whose time is over.
    Certificate(const BasicString& path, const BasicString& keyPath, SystemTime now);

    /// Self-signed, for 397 days, for servers only. `names`: host names and IP addresses.
    static Certificate MakeSelfSigned(const std::vector<BasicString>& names, SystemTime now);

    /// The certificate and the key as PEM, each in one block. Replaces the file at once and as a whole; only its owner
    /// can read it. Throws TemporaryException or InvalidOperationException.
    void Save(const BasicString& path) const;

    [[nodiscard]] bool HasName(const BasicString& name) const;

    /// SHA-256, see CertificateInfo.
    [[nodiscard]] BasicString GetFingerprint() const;

    [[nodiscard]] SystemTime GetEnd() const;

    /// Connections of the context will use it. Throws InvalidOperationException for a key that is too weak.
    void Use(SSL_CTX& context) const;

private:
    Certificate() = default;

    UniqueX509 leaf;
    std::vector<UniqueX509> issuers;
    UniqueKey key;
};

} // namespace Oxa::Host::Tls
