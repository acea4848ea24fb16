#include "Host/Tls/CertificateStore.hpp"

#include "Host/Tls/TlsFixture.hpp"
#include "Oxa/System/Commons/Exception.hpp"

#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace Oxa::Host::Tls
{

using System::Commons::Exception;
using System::Commons::Diagnostics::Logging::LogLevel;
using testing::Contains;
using testing::HasSubstr;
using testing::Pair;

namespace
{

constexpr std::chrono::hours day{24};

class CertificateStores : public TlsFixture
{
protected:
    [[nodiscard]] BasicString GetPath(const BasicString& name) const
    {
        return folder.GetPath("certs.d") + '/' + name;
    }

    void Write(const BasicString& name, const BasicString& text, mode_t mode = S_IRUSR | S_IWUSR) const
    {
        std::ofstream(GetPath(name)) << text;
        chmod(GetPath(name).c_str(), mode);
    }

    [[nodiscard]] BasicString Read(const BasicString& name) const
    {
        return folder.Read("certs.d/" + name);
    }

    /// The certificate and the key of a file that has both.
    [[nodiscard]] std::pair<BasicString, BasicString> Split(const BasicString& name) const
    {
        const BasicString text = Read(name);
        const std::size_t key = text.find("-----BEGIN PRIVATE");
        return {text.substr(0, key), text.substr(key)};
    }

    [[nodiscard]] std::vector<BasicString> GetErrors() const
    {
        std::vector<BasicString> errors;
        for (const auto& entry : log.GetEntries())
        {
            if (entry.level == LogLevel::Error)
            {
                errors.push_back(entry.message);
            }
        }
        return errors;
    }
};

BasicString ToPem(const std::function<int(BIO*)>& write)
{
    const UniqueBio bio(BIO_new(BIO_s_mem()));
    EXPECT_EQ(write(bio.get()), 1);
    char* data = nullptr;
    const long count = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<std::size_t>(count)};
}

/// With a key that can be broken.
BasicString MakeWeakPem()
{
    const UniqueKey key(EVP_RSA_gen(1024));
    const UniqueX509 certificate(X509_new());
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400);
    X509_set_pubkey(certificate.get(), key.get());
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    return ToPem([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate.get()); }) +
           ToPem([&](BIO* bio)
                 { return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
}

BasicString MakeLockedKey()
{
    const UniqueKey key(EVP_EC_gen("P-256"));
    unsigned char passphrase[] = "secret";
    return ToPem(
        [&](BIO* bio)
        { return PEM_write_bio_PrivateKey(bio, key.get(), EVP_aes_128_cbc(), passphrase, 6, nullptr, nullptr); });
}

TEST_F(CertificateStores, KeepTheOldOneAndTellWhyWhenTheLastCannotBeUsed)
{
    (void)WritePem("10-good.pem");
    store.Load();
    const BasicString good = GetFingerprint("10-good.pem");
    (void)WritePem("a.pem");
    const auto [certificate, key] = Split("a.pem");
    (void)WritePem("a.pem");
    const BasicString otherKey = Split("a.pem").second;
    std::filesystem::remove(GetPath("a.pem"));
    const std::pair<std::function<void()>, BasicString> cases[] = {
        {[&] { Write("20.pem", certificate + otherKey); }, "20.pem' belongs to another certificate"},
        {[&]
         {
             Write("20.pem", certificate);
             Write("20.key", otherKey);
         },
         "20.key' belongs to another certificate"},
        {[&] { (void)WritePem("20.pem", "a", now - 397 * day); }, "the certificate has expired"},
        {[&] { Write("20.pem", ""); }, "it has no certificate: no start line"},
        {[&] { Write("20.pem", "hello"); }, "it has no certificate: no start line"},
        {[&] { Write("20.pem", key); }, "it has no certificate: no start line"},
        {[&] { Write("20.pem", certificate); }, "it has no private key: "},
        {[&] { Write("20.pem", certificate.substr(0, certificate.size() / 2)); }, "it has no certificate: "},
        {[&] { Write("20.pem", certificate + "-----BEGIN CERTIFICATE-----\nAAAA\n" + key); }, "is damaged: "},
        {[&] { Write("20.pem", certificate + MakeLockedKey()); }, "its private key needs a passphrase"},
        {[&] { Write("20.pem", MakeWeakPem()); }, "the certificate cannot be used: ee key too small"},
        {[&] { Write("20.pem", certificate + key, 0644); }, "it has a private key that every user can read"},
        {[&]
         {
             Write("20.crt", certificate, 0644);
             Write("20.key", key, 0644);
         },
         "20.key': it has a private key"},
        {[&] { Write("20.pem", certificate + key, 0660); }, "other users can write it"},
        {[&]
         {
             Write("20.crt", certificate, 0646);
             Write("20.key", key);
         },
         "20.crt': it belongs to another user, or"},
        {[&] { Write("20.pem", BasicString(100'000, 'x')); }, "it is not a file of at most"},
        {[&] { std::filesystem::create_directory(GetPath("20.pem")); }, "it is not a file of at most"},
        {[&] { mkfifo(GetPath("20.pem").c_str(), 0600); }, "it is not a file of at most"},
        {[&] { std::filesystem::create_symlink("nowhere", GetPath("20.pem")); }, "20.pem': No such file"},
    };
    for (const auto& [spoil, cause] : cases)
    {
        spoil();
        published.clear();
        const std::size_t before = GetErrors().size();
        store.Reload();
        EXPECT_EQ(GetServedFingerprint(), good) << cause;
        ASSERT_EQ(GetErrors().size(), before + 1) << cause;
        EXPECT_THAT(GetErrors().back(), testing::AllOf(HasSubstr(cause), HasSubstr(GetPath("20."))));
        ASSERT_EQ(published.size(), 1U) << cause;
        EXPECT_EQ(published[0].kind, System::Nm::NotificationKind::CertificateChanged);
        EXPECT_THAT(published[0].fields, Contains(Pair("outcome", "failure")));
        EXPECT_THAT(published[0].fields, Contains(Pair("cause", HasSubstr(cause))));
        store.Refresh();
        EXPECT_EQ(GetErrors().size(), before + 1) << "it was told already: " << cause;
        store.Reload();
        EXPECT_EQ(GetErrors().size(), before + 2) << "who asks again is told again: " << cause;

        CertificateStore started({folder.GetPath("certs.d"),
                                  [this]
                                  {
                                      return names;
                                  }},
                                 notifications, [this] { return now; });
        started.Load();
        Connection connection(started);
        ASSERT_TRUE(connection.Handshake());
        EXPECT_EQ(connection.GetFingerprint(), good) << "a start uses the next one: " << cause;
        for (const char* name : {"20.pem", "20.crt", "20.key"})
        {
            std::filesystem::remove_all(GetPath(name));
        }
    }
    published.clear();
    store.Refresh();
    EXPECT_TRUE(published.empty()) << "the same certificate is no change";
}

TEST_F(CertificateStores, UseTheLastName)
{
    (void)WritePem("30.pem");
    (void)WritePem("20.pem");
    (void)WritePem(".40.pem");
    (void)WritePem("50.txt");
    store.Load();
    EXPECT_EQ(GetServedFingerprint(), GetFingerprint("30.pem"));
    EXPECT_FALSE(std::filesystem::exists(GetPath("00-self-signed.pem"))) << "it is made only when it is needed";

    (void)WritePem("a.pem");
    const BasicString added = GetFingerprint("a.pem");
    const auto [certificate, key] = Split("a.pem");
    std::filesystem::remove(GetPath("a.pem"));
    // The certificates that issued it follow.
    Write("40.crt", certificate + Split("30.pem").first, 0644);
    Write("40.key", key, 0640);
    published.clear();
    store.Reload();
    EXPECT_EQ(GetServedFingerprint(), added);
    ASSERT_EQ(published.size(), 1U);
    EXPECT_THAT(published[0].fields, Contains(Pair("fingerprint", added)));
    EXPECT_THAT(published[0].fields, Contains(Pair("object", GetPath("40.crt"))));
    Connection connection(store);
    ASSERT_TRUE(connection.Handshake());
    EXPECT_EQ(sk_X509_num(SSL_get_peer_cert_chain(&connection.client->Get())), 2);
    std::vector<BasicString> faults;
    EXPECT_EQ(store.Find(faults).fingerprint, added);

    std::filesystem::remove(GetPath("40.crt"));
    store.Refresh();
    EXPECT_EQ(GetServedFingerprint(), GetFingerprint("30.pem"));
    std::filesystem::remove_all(folder.GetPath("certs.d"));
    store.Reload();
    EXPECT_THAT(GetErrors(), Contains(HasSubstr("cannot read the folder")));
}

TEST_F(CertificateStores, MakeACertificateThatBrowsersAccept)
{
    std::vector<BasicString> faults;
    store.Load();
    struct stat status = {};
    ASSERT_EQ(stat(GetPath("00-self-signed.pem").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(stat(folder.GetPath("certs.d").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);

    Connection connection(store);
    ASSERT_TRUE(connection.Handshake());
    const UniqueX509 made(SSL_get1_peer_certificate(&connection.client->Get()));
    for (const char* name : {"localhost", "cabinet"})
    {
        EXPECT_EQ(X509_check_host(made.get(), name, 0, 0, nullptr), 1) << name;
    }
    for (const char* address : {"192.0.2.1", "2001:db8::1"})
    {
        EXPECT_EQ(X509_check_ip_asc(made.get(), address, 0), 1) << address;
    }
    EXPECT_EQ(X509_check_host(made.get(), "other", 0, 0, nullptr), 0);
    int days = 0;
    int seconds = 0;
    ASN1_TIME_diff(&days, &seconds, X509_get0_notBefore(made.get()), X509_get0_notAfter(made.get()));
    EXPECT_EQ(days, 396);
    EXPECT_EQ(seconds, 86399);
    EXPECT_EQ(X509_get_version(made.get()), 2);
    EXPECT_EQ(X509_get_key_usage(made.get()), unsigned{KU_DIGITAL_SIGNATURE});
    EXPECT_EQ(X509_get_extended_key_usage(made.get()), unsigned{XKU_SSL_SERVER});
    EXPECT_EQ(X509_check_purpose(made.get(), X509_PURPOSE_SSL_SERVER, 0), 1);
    EXPECT_EQ(X509_check_ca(made.get()), 0);
    EXPECT_EQ(EVP_PKEY_get_bits(X509_get0_pubkey(made.get())), 256);
    EXPECT_EQ(ASN1_STRING_length(X509_get0_serialNumber(made.get())), 16) << "random, not countable";
    EXPECT_EQ(X509_verify(made.get(), X509_get0_pubkey(made.get())), 1);
    EXPECT_EQ(store.Find(faults).fingerprint, connection.GetFingerprint());
    EXPECT_TRUE(faults.empty());
}

TEST_F(CertificateStores, RenewTheOneThatTheyMadeInTime)
{
    store.Load();
    BasicString last = GetServedFingerprint();
    const auto expectRenewal = [&](bool isExpected, const char* why)
    {
        store.Refresh();
        const BasicString next = GetServedFingerprint();
        EXPECT_EQ(next != last, isExpected) << why;
        EXPECT_EQ(next, GetFingerprint("00-self-signed.pem")) << why;
        last = next;
    };
    expectRenewal(false, "nothing has changed");
    now += (396 - 31) * day;
    expectRenewal(false, "31 days before its end");
    names.pop_back();
    expectRenewal(false, "a name more than necessary");
    names.emplace_back("new.example");
    expectRenewal(true, "a name was added");
    now += 366 * day;
    expectRenewal(true, "29 days before its end");
    now += 1000 * day;
    expectRenewal(true, "it had expired");
    now -= 2000 * day;
    expectRenewal(false, "the clock is late: not yet valid, but as good as another one");
    now += 2000 * day;
    Write("00-self-signed.pem", "damaged");
    expectRenewal(true, "it was damaged");
    std::filesystem::remove(GetPath("00-self-signed.pem"));
    expectRenewal(true, "it was removed");
    names.emplace_back("another.example");
    (void)WritePem("10.pem");
    store.Refresh();
    EXPECT_EQ(GetFingerprint("00-self-signed.pem"), last) << "it is not in use";
    std::filesystem::create_directory(GetPath("00-self-signed.pem.new"));
    std::filesystem::remove(GetPath("10.pem"));
    published.clear();
    store.Refresh();
    EXPECT_EQ(GetServedFingerprint(), last) << "the new one cannot be written";
    EXPECT_THAT(GetErrors().back(), HasSubstr("cannot write '" + GetPath("00-self-signed.pem") + "'"));
}

TEST_F(CertificateStores, WarnOnceADayBeforeAnIssuedOneExpires)
{
    (void)WritePem("10.pem");
    store.Load();
    const auto countWarnings = [this]
    {
        return std::ranges::count(log.GetEntries(), LogLevel::Warning, &Tests::Support::LogRecorder::Entry::level);
    };
    now += (396 - 15) * day;
    store.Refresh();
    EXPECT_EQ(countWarnings(), 0);
    now += 2 * day;
    store.Refresh();
    store.Refresh();
    EXPECT_EQ(countWarnings(), 1);
    now += day;
    store.Refresh();
    EXPECT_EQ(countWarnings(), 2);
}

TEST_F(CertificateStores, DoNotBeginWithoutACertificate)
{
    const BasicString path = folder.Write("file", "");
    CertificateStore impossible({path + "/certs.d",
                                 [this]
                                 {
                                     return names;
                                 }},
                                notifications);
    try
    {
        impossible.Load();
        ADD_FAILURE();
    }
    catch (const Exception& exception)
    {
        EXPECT_THAT(exception.GetMessage(),
                    HasSubstr("cannot make the folder '" + path + "/certs.d': Not a directory"));
    }
}

} // namespace

} // namespace Oxa::Host::Tls
