#include "Host/Tls/Certificate.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <boost/asio/ip/address.hpp>
#include <fcntl.h>
#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <utility>

namespace Oxa::Host::Tls
{

using System::Commons::FileDescriptor;
using System::Commons::InvalidOperationException;
using System::Commons::Text::Format;

namespace
{

constexpr std::chrono::hours day{24};
/// Browsers accept no longer ones; the clocks of clients may be late.
constexpr auto selfSignedLifetime = 397 * day;
constexpr std::chrono::hours clockTolerance{24};

[[noreturn]] void ThrowCause(const BasicString& path, const BasicString& cause)
{
    throw InvalidOperationException::Create("'{0}': {1}", path, cause);
}

/// A file's text, which may hold a private key: wiped in the end.
class SecretText final
{
public:
    explicit SecretText(const BasicString& path)
    {
        // Not blocking: the path may name a pipe.
        const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (!file.IsOpen() || fstat(file.Get(), &status) != 0)
        {
            ThrowCause(path, std::generic_category().message(errno));
        }
        if (!S_ISREG(status.st_mode) || static_cast<std::size_t>(status.st_size) > text.size())
        {
            ThrowCause(path, Format("it is not a file of at most {0} bytes", text.size()));
        }
        const bool isOwnerTrusted = status.st_uid == 0 || status.st_uid == geteuid();
        if (!isOwnerTrusted || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        {
            ThrowCause(path, "it belongs to another user, or other users can write it");
        }
        const ssize_t count = read(file.Get(), text.data(), text.size());
        if (count < 0)
        {
            ThrowCause(path, std::generic_category().message(errno));
        }
        bytes = static_cast<std::size_t>(count);
    }

    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;

    ~SecretText()
    {
        OPENSSL_cleanse(text.data(), text.size());
    }

    [[nodiscard]] UniqueBio Read() const
    {
        return UniqueBio(BIO_new_mem_buf(text.data(), static_cast<int>(bytes)));
    }

    [[nodiscard]] bool CanOthersRead() const noexcept
    {
        return (status.st_mode & S_IROTH) != 0;
    }

private:
    struct stat status = {};
    std::size_t bytes = 0;
    std::array<char, std::size_t{64} * 1024> text;
};

/// Instead of asking on the terminal.
int RefusePassphrase(char* /*buffer*/, int /*size*/, int /*isWriting*/, void* wasAsked)
{
    *static_cast<bool*>(wasAsked) = true;
    return -1;
}

UniqueKey ReadKey(const SecretText& text, const BasicString& path)
{
    bool wasAsked = false;
    UniqueKey key(PEM_read_bio_PrivateKey(text.Read().get(), nullptr, &RefusePassphrase, &wasAsked));
    if (!key)
    {
        const BasicString cause = TakeError();
        ThrowCause(path, wasAsked ? "its private key needs a passphrase" : "it has no private key: " + cause);
    }
    if (text.CanOthersRead())
    {
        ThrowCause(path, "it has a private key that every user can read");
    }
    return key;
}

SystemTime ToTime(const ASN1_TIME* time)
{
    std::tm parts = {};
    return ASN1_TIME_to_tm(time, &parts) == 1 ? std::chrono::system_clock::from_time_t(timegm(&parts)) : SystemTime();
}

void SetTime(ASN1_TIME* time, SystemTime value)
{
    if (ASN1_TIME_set(time, std::chrono::system_clock::to_time_t(value)) == nullptr)
    {
        ThrowError("cannot make a certificate");
    }
}

bool IsAddress(const BasicString& name)
{
    boost::system::error_code error;
    boost::asio::ip::make_address(name, error);
    return !error;
}

void AddExtension(X509& certificate, int kind, const BasicString& value)
{
    const std::unique_ptr<X509_EXTENSION, Deleter<&X509_EXTENSION_free>> extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    if (!extension || X509_add_ext(&certificate, extension.get(), -1) != 1)
    {
        ThrowError("cannot make a certificate");
    }
}

/// The first name that fits into the field, which is for people only.
BasicString ChooseCommonName(const std::vector<BasicString>& names)
{
    constexpr std::size_t maximumBytes = 64;
    for (const BasicString& name : names)
    {
        if (name != "localhost" && name.size() <= maximumBytes && !IsAddress(name))
        {
            return name;
        }
    }
    return "localhost";
}

BasicString JoinNames(const std::vector<BasicString>& names)
{
    constexpr std::string_view separators = ", :";
    BasicString joined;
    for (const BasicString& name : names)
    {
        if (!IsAddress(name) && name.find_first_of(separators) != BasicString::npos)
        {
            continue;
        }
        joined.append(joined.empty() ? "" : ",").append(IsAddress(name) ? "IP:" : "DNS:").append(name);
    }
    return joined;
}

} // namespace

BasicString TakeError()
{
    const unsigned long error = ERR_peek_last_error();
    const char* const reason = ERR_reason_error_string(error);
    BasicString text = reason != nullptr ? reason : Format("error {0:x} of the TLS library", error);
    ERR_clear_error();
    return text;
}

void ThrowError(const BasicString& subject)
{
    throw InvalidOperationException::Create("{0}: {1}", subject, TakeError());
}

Certificate::Certificate(const BasicString& path, const BasicString& keyPath, SystemTime now)
{
    ERR_clear_error();
    const SecretText text(path);
    const UniqueBio input = text.Read();
    leaf.reset(PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr));
    if (!leaf)
    {
        ThrowCause(path, "it has no certificate: " + TakeError());
    }
    while (X509* const issuer = PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr))
    {
        issuers.emplace_back(issuer);
    }
    if (ERR_GET_REASON(ERR_peek_last_error()) != PEM_R_NO_START_LINE)
    {
        ThrowCause(path, "a certificate in it is damaged: " + TakeError());
    }
    ERR_clear_error();
    key = keyPath == path ? ReadKey(text, path) : ReadKey(SecretText(keyPath), keyPath);
    if (X509_check_private_key(leaf.get(), key.get()) != 1)
    {
        ERR_clear_error();
        ThrowCause(path, "the private key in '" + keyPath + "' belongs to another certificate");
    }
    if (GetEnd() <= now)
    {
        ThrowCause(path, "the certificate has expired");
    }
}

Certificate Certificate::MakeSelfSigned(const std::vector<BasicString>& names, SystemTime now)
{
    constexpr const char* subject = "cannot make a certificate";
    constexpr int version3 = 2;
    constexpr int serialBits = 127;
    Certificate made;
    made.leaf.reset(X509_new());
    made.key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    const std::unique_ptr<BIGNUM, Deleter<&BN_free>> serial(BN_new());
    if (!made.leaf || !made.key || !serial ||
        BN_rand(serial.get(), serialBits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) != 1 ||
        BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(made.leaf.get())) == nullptr ||
        X509_set_version(made.leaf.get(), version3) != 1 || X509_set_pubkey(made.leaf.get(), made.key.get()) != 1)
    {
        ThrowError(subject);
    }
    const BasicString commonName = ChooseCommonName(names);
    X509_NAME* const name = X509_get_subject_name(made.leaf.get());
    if (X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(commonName.data()),
                                   static_cast<int>(commonName.size()), -1, 0) != 1 ||
        X509_set_issuer_name(made.leaf.get(), name) != 1)
    {
        ThrowError(subject);
    }
    SetTime(X509_getm_notBefore(made.leaf.get()), now - clockTolerance);
    SetTime(X509_getm_notAfter(made.leaf.get()), now - clockTolerance + selfSignedLifetime - std::chrono::seconds(1));
    AddExtension(*made.leaf, NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(*made.leaf, NID_key_usage, "critical,digitalSignature");
    AddExtension(*made.leaf, NID_ext_key_usage, "serverAuth");
    AddExtension(*made.leaf, NID_subject_alt_name, JoinNames(names));
    if (X509_sign(made.leaf.get(), made.key.get(), EVP_sha256()) == 0)
    {
        ThrowError(subject);
    }
    return made;
}

void Certificate::Save(const BasicString& path) const
{
    const UniqueBio text(BIO_new(BIO_s_secmem()));
    char* data = nullptr;
    long count = 0;
    if (!text || PEM_write_bio_X509(text.get(), leaf.get()) != 1 ||
        PEM_write_bio_PrivateKey(text.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1 ||
        (count = BIO_get_mem_data(text.get(), &data)) <= 0)
    {
        ThrowError("cannot save a certificate");
    }
    const BasicString newPath = path + ".new";
    // Left by a process that was interrupted.
    unlink(newPath.c_str());
    const FileDescriptor file(
        open(newPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    const FileDescriptor folder(open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!file.IsOpen() || write(file.Get(), data, static_cast<std::size_t>(count)) != count || fsync(file.Get()) != 0 ||
        rename(newPath.c_str(), path.c_str()) != 0 || fsync(folder.Get()) != 0)
    {
        const int cause = errno;
        unlink(newPath.c_str());
        System::Commons::ThrowErrno("cannot write '" + path + "'", cause);
    }
}

bool Certificate::HasName(const BasicString& name) const
{
    return (IsAddress(name) ? X509_check_ip_asc(leaf.get(), name.c_str(), 0)
                            : X509_check_host(leaf.get(), name.data(), name.size(), 0, nullptr)) == 1;
}

BasicString Certificate::GetFingerprint() const
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned count = 0;
    if (X509_digest(leaf.get(), EVP_sha256(), digest.data(), &count) != 1)
    {
        ThrowError("cannot make the fingerprint of a certificate");
    }
    BasicString text;
    for (unsigned index = 0; index < count; ++index)
    {
        text += Format(index == 0 ? "{0:02X}" : ":{0:02X}", digest[index]);
    }
    return text;
}

SystemTime Certificate::GetEnd() const
{
    return ToTime(X509_get0_notAfter(leaf.get()));
}

void Certificate::Use(SSL_CTX& context) const
{
    bool isUsed =
        SSL_CTX_use_certificate(&context, leaf.get()) == 1 && SSL_CTX_use_PrivateKey(&context, key.get()) == 1;
    for (const UniqueX509& issuer : issuers)
    {
        isUsed = isUsed && SSL_CTX_add1_chain_cert(&context, issuer.get()) == 1;
    }
    if (!isUsed)
    {
        ThrowError("the certificate cannot be used");
    }
}

} // namespace Oxa::Host::Tls
