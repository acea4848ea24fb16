#include "Host/Tls/TlsChannel.hpp"

#include "Host/Tls/TlsFixture.hpp"

#include <openssl/ssl.h>

namespace Oxa::Host::Tls
{

using Progress = Http::ISecureChannel::Progress;
using testing::HasSubstr;

namespace
{

class TlsChannels : public TlsFixture
{
protected:
    TlsChannels()
    {
        store.Load();
    }
};

TEST_F(TlsChannels, AgreeOnStrongProtocolsOnly)
{
    struct Case
    {
        const char* title;
        std::function<void(SSL&)> setUp;
        /// Empty: refused.
        BasicString agreed;
    };

    const auto offer12 = [](const char* ciphers)
    {
        return [ciphers](SSL& ssl)
        {
            SSL_set_max_proto_version(&ssl, TLS1_2_VERSION);
            EXPECT_EQ(SSL_set_cipher_list(&ssl, ciphers), 1) << ciphers;
        };
    };
    const auto offer13 = [](const char* ciphers, const char* groups)
    {
        return [ciphers, groups](SSL& ssl)
        {
            SSL_set_min_proto_version(&ssl, TLS1_3_VERSION);
            EXPECT_EQ(SSL_set_ciphersuites(&ssl, ciphers), 1);
            EXPECT_EQ(SSL_set1_groups_list(&ssl, groups), 1);
        };
    };
    const auto offerProtocol = [](std::string_view protocol)
    {
        return [protocol](SSL& ssl)
        {
            SSL_set_alpn_protos(&ssl, reinterpret_cast<const unsigned char*>(protocol.data()),
                                static_cast<unsigned>(protocol.size()));
        };
    };
    const auto offerVersions = [](int least, int most)
    {
        return [least, most](SSL& ssl)
        {
            SSL_set_min_proto_version(&ssl, least);
            SSL_set_max_proto_version(&ssl, most);
        };
    };
    constexpr const char* all13 = "TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256:TLS_AES_128_GCM_SHA256";
    const Case cases[] = {
        {"everything", {}, "TLSv1.3 TLS_AES_128_GCM_SHA256"},
        {"1.2", offer12("ALL"), "TLSv1.2 ECDHE-ECDSA-AES128-GCM-SHA256"},
        {"1.2 of a client without AES", offer12("ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-ECDSA-AES128-GCM-SHA256"),
         "TLSv1.2 ECDHE-ECDSA-CHACHA20-POLY1305"},
        {"1.2, 256 bits", offer12("ECDHE-ECDSA-AES256-GCM-SHA384"), "TLSv1.2 ECDHE-ECDSA-AES256-GCM-SHA384"},
        {"1.2, CBC", offer12("ECDHE-ECDSA-AES128-SHA256:ECDHE-ECDSA-AES256-SHA384:ECDHE-ECDSA-AES128-SHA"), ""},
        {"1.2, short tags", offer12("ECDHE-ECDSA-AES128-CCM8"), ""},
        {"1.2, no forward secrecy", offer12("AES128-GCM-SHA256:AES256-GCM-SHA384:AES128-SHA"), ""},
        {"1.2, finite fields", offer12("DHE-RSA-AES128-GCM-SHA256"), ""},
        {"1.2, no encryption", offer12("ECDHE-ECDSA-NULL-SHA:NULL-SHA256"), ""},
        {"1.2, no authentication", offer12("aNULL"), ""},
        {"1.1", offerVersions(TLS1_1_VERSION, TLS1_1_VERSION), ""},
        {"1.0", offerVersions(TLS1_VERSION, TLS1_1_VERSION), ""},
        {"1.3, server's order", offer13(all13, "P-256:X25519"), "TLSv1.3 TLS_AES_128_GCM_SHA256"},
        {"1.3, P-256", offer13(all13, "P-256"), "TLSv1.3 TLS_AES_128_GCM_SHA256"},
        {"1.3, large curves", offer13(all13, "P-384:P-521:X448"), ""},
        {"1.3, CCM", offer13("TLS_AES_128_CCM_SHA256", "X25519"), ""},
        {"HTTP/1.1", offerProtocol("\x02h2\x08http/1.1"), "TLSv1.3 TLS_AES_128_GCM_SHA256 http/1.1"},
        {"another protocol",
         offerProtocol("\x02h2\x03"
                       "ftp"),
         ""},
    };
    for (const auto& [title, setUp, agreed] : cases)
    {
        Connection connection(store, setUp);
        if (!connection.Handshake())
        {
            EXPECT_EQ(agreed, "") << title << ": " << connection.client->GetAlert();
            EXPECT_EQ(connection.progress, Progress::Ended) << title;
            continue;
        }
        const SSL& ssl = connection.client->Get();
        const unsigned char* protocol = nullptr;
        unsigned protocolBytes = 0;
        SSL_get0_alpn_selected(&ssl, &protocol, &protocolBytes);
        BasicString found = BasicString(SSL_get_version(&ssl)) + ' ' + SSL_get_cipher(&ssl);
        found.append(protocolBytes == 0 ? "" : " ").append(reinterpret_cast<const char*>(protocol), protocolBytes);
        EXPECT_EQ(found, agreed) << title;
    }
}

TEST_F(TlsChannels, ResumeSessionsUntilTheCertificatesAreReadAgain)
{
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION})
    {
        auto session = [this, version]
        {
            Connection first(store, [version](SSL& ssl) { SSL_set_max_proto_version(&ssl, version); });
            EXPECT_TRUE(first.Handshake());
            return first.client->TakeSession();
        }();
        ASSERT_NE(session, nullptr);
        const auto isResumed = [this, &session, version]
        {
            Connection next(store,
                            [&session, version](SSL& ssl)
                            {
                                SSL_set_max_proto_version(&ssl, version);
                                SSL_set_session(&ssl, session.get());
                            });
            EXPECT_TRUE(next.Handshake());
            return SSL_session_reused(&next.client->Get()) == 1;
        };
        EXPECT_TRUE(isResumed()) << version;
        store.Refresh();
        EXPECT_FALSE(isResumed()) << version << ": the keys of tickets must not live long";
    }
}

TEST_F(TlsChannels, KeepTheCertificateThatTheyBeganWith)
{
    Connection old(store);
    ASSERT_TRUE(old.Handshake());
    const BasicString before = old.GetFingerprint();
    Connection waiting(store);
    (void)WritePem("cabinet.pem");
    store.Reload();
    EXPECT_EQ(GetServedFingerprint(), GetFingerprint("cabinet.pem"));
    ASSERT_TRUE(waiting.Handshake());
    EXPECT_EQ(waiting.GetFingerprint(), before);
    old.client->Write("still here");
    EXPECT_EQ(old.Read(), "still here");
    EXPECT_FALSE(old.channel->HasIssuedCertificate());
    EXPECT_TRUE(Connection(store).channel->HasIssuedCertificate());
}

TEST_F(TlsChannels, CarryBytesInPiecesOfAnySize)
{
    Connection connection(store);
    ASSERT_TRUE(connection.Handshake());
    connection.client->Write("first");
    connection.client->Write("second");
    EXPECT_EQ(connection.Read(), "first");
    EXPECT_TRUE(connection.channel->HasInput()) << "both came with one read of the socket";
    EXPECT_EQ(connection.Read(), "second");
    EXPECT_EQ(connection.Read(), "");
    EXPECT_EQ(connection.progress, Progress::WaitsForInput);
    EXPECT_FALSE(connection.channel->HasInput());

    BasicString sent;
    for (int number = 0; sent.size() < 2'000'000; ++number)
    {
        sent += std::to_string(number) + ' ';
    }
    BasicString received;
    int waits = 0;
    for (std::size_t written = 0; written < sent.size();)
    {
        std::size_t count = 0;
        const Progress progress = connection.channel->Write(std::string_view(sent).substr(written), count);
        written += count;
        if (progress == Progress::Done)
        {
            continue;
        }
        ASSERT_EQ(progress, Progress::WaitsForOutput);
        ++waits;
        for (BasicString piece = connection.client->Read(); !piece.empty(); piece = connection.client->Read())
        {
            received += piece;
        }
    }
    for (BasicString piece = connection.client->Read(); !piece.empty(); piece = connection.client->Read())
    {
        received += piece;
    }
    EXPECT_GT(waits, 0) << "the socket must have been full";
    EXPECT_TRUE(received == sent);
    connection.channel->EndWriting();
    EXPECT_EQ(connection.client->Read(), "");
    EXPECT_TRUE(connection.client->IsClosed()) << "the end must not look like a truncation";
}

TEST_F(TlsChannels, EndForWhatIsNotAHandshake)
{
    for (const BasicString& bytes :
         {BasicString("GET / HTTP/1.1\r\n\r\n"), BasicString("\0\0\0\0\0\0\0\0", 8),
          BasicString("\x16\x03\x01\x40\x01", 5) + BasicString(16385, '\1'), BasicString("SSH-2.0-OpenSSH_9.2\r\n")})
    {
        Connection connection(store);
        ASSERT_EQ(write(connection.clientEnd.Get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        EXPECT_EQ(connection.Read(), "");
        EXPECT_EQ(connection.progress, Progress::Ended);
    }
}

TEST_F(TlsChannels, RefuseToNegotiateAgain)
{
    Connection connection(store, [](SSL& ssl) { SSL_set_max_proto_version(&ssl, TLS1_2_VERSION); });
    ASSERT_TRUE(connection.Handshake());
    SSL_renegotiate(&connection.client->Get());
    EXPECT_FALSE(connection.Handshake());
    EXPECT_THAT(connection.client->GetAlert(), HasSubstr("no renegotiation"));
}

TEST_F(TlsChannels, EndWhenMessagesOfTheProtocolComeWithoutBytesBetweenThem)
{
    for (const int kind : {SSL_KEY_UPDATE_NOT_REQUESTED, SSL_KEY_UPDATE_REQUESTED})
    {
        Connection connection(store);
        ASSERT_TRUE(connection.Handshake());
        const auto update = [&connection, kind](int times)
        {
            for (int count = 0; count < times; ++count)
            {
                ASSERT_TRUE(connection.client->UpdateKey(kind));
            }
        };
        connection.client->Write("first");
        EXPECT_EQ(connection.Read(), "first");
        for (int round = 0; round < 3; ++round)
        {
            update(20);
            EXPECT_EQ(connection.Read(), "");
            EXPECT_EQ(connection.progress, Progress::WaitsForInput);
            update(12);
            connection.client->Write("next");
            EXPECT_EQ(connection.Read(), "next") << kind << ", round " << round;
            std::size_t count = 0;
            EXPECT_EQ(connection.channel->Write("response", count), Progress::Done);
            EXPECT_EQ(connection.client->Read(), "response");
        }
        update(33);
        connection.client->Write("never read");
        EXPECT_EQ(connection.Read(), "") << kind;
        EXPECT_EQ(connection.progress, Progress::Ended) << kind;
        EXPECT_EQ(connection.Read(), "") << kind;
        EXPECT_EQ(connection.progress, Progress::Ended) << kind;
        connection.channel->EndWriting();
    }
}

TEST_F(TlsChannels, EndWhenTheClientIsGone)
{
    Connection connection(store);
    ASSERT_TRUE(connection.Handshake());
    connection.clientEnd.Close();
    EXPECT_EQ(connection.Read(), "");
    EXPECT_EQ(connection.progress, Progress::Ended);
    std::size_t count = 0;
    EXPECT_EQ(connection.channel->Write("a", count), Progress::Ended);
    connection.channel->EndWriting();
}

} // namespace

} // namespace Oxa::Host::Tls
