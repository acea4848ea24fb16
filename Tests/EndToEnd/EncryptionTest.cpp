#include "Support/ChildProcess.hpp"
#include "Support/HttpClient.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/TlsClient.hpp"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <openssl/x509.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;
using testing::StartsWith;

namespace
{

/// The shipped program with encryption on the loopback interface.
class EncryptedHost final
{
public:
    EncryptedHost()
        : configuration(folder.Write(
              "host.xml", R"(<WbmHostDocument><Http port="0" tls="true" hosts="cabinet.example" redirectPort="0"/>
        <Users database="${OXA_STATE}/users.sqlite"/><Modules folder="${OXA_STATE}/modules"/></WbmHostDocument>)"))
    {
        mkdir(folder.GetPath("state").c_str(), 0700);
        mkdir(folder.GetPath("state/modules").c_str(), 0700);
    }

    Support::ChildProcess Run(const std::vector<BasicString>& arguments = {}) const
    {
        std::vector<BasicString> all{OXA_WBM, "--config", configuration, "--state", folder.GetPath("state")};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return Support::ChildProcess(all);
    }

    const Support::TemporaryFolder folder;

private:
    const BasicString configuration;
};

struct TlsAnswer
{
    BasicString text;
    BasicString fingerprint;
};

TlsAnswer Ask(uint16 port, const BasicString& request)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    TlsAnswer answer;
    {
        Support::TlsClient client(socket);
        EXPECT_TRUE(client.Handshake());
        client.Write(request + "Connection: close\r\n\r\n");
        for (BasicString piece = client.Read(); !piece.empty(); piece = client.Read())
        {
            answer.text += piece;
        }
        std::array<unsigned char, 32> digest = {};
        unsigned count = 0;
        X509* const certificate = SSL_get1_peer_certificate(&client.Get());
        X509_digest(certificate, EVP_sha256(), digest.data(), &count);
        X509_free(certificate);
        for (const unsigned char each : digest)
        {
            std::array<char, 4> digits = {};
            std::snprintf(digits.data(), digits.size(), ":%02X", each);
            answer.fingerprint += digits.data() + (answer.fingerprint.empty() ? 1 : 0);
        }
    }
    close(socket);
    return answer;
}

TEST(Encryption, IsServedWithACertificateOfItsOwnAndPlainRequestsAreRedirected)
{
    const EncryptedHost host;
    EXPECT_THAT(
        [&]
        {
            auto early = host.Run({"--fingerprint"});
            early.Wait();
            return early.GetErrors();
        }(),
        HasSubstr("the server makes one when it starts"));
    Support::ChildProcess process = host.Run();
    const auto redirectPort = static_cast<uint16>(std::stoi(process.WaitForLine("redirecting from http://127.0.0.1:")));
    const BasicString port = process.WaitForLine("listening on https://127.0.0.1:");
    const auto answer = Ask(static_cast<uint16>(std::stoi(port)), "GET /healthz HTTP/1.1\r\nHost: cabinet.example\r\n");
    EXPECT_THAT(answer.text, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer.text, HasSubstr(R"({"status":"ok"})"));

    Support::HttpClient plain(redirectPort);
    const auto redirected = plain.Ask("GET", "/a?b=c", "Authorization: Bearer x\r\n");
    EXPECT_EQ(redirected.result_int(), 308U);
    EXPECT_EQ(redirected["Location"], "https://cabinet.example:" + port.substr(0, port.find('\n')) + "/a?b=c");
    EXPECT_EQ(plain.Ask("POST", "/api/v1/session").result_int(), 403U);
    Support::HttpClient wrong(static_cast<uint16>(std::stoi(port)));
    EXPECT_THAT(wrong.Ask("GET", "/healthz").body(), HasSubstr("tls-required"));

    Support::ChildProcess fingerprint = host.Run({"--fingerprint"});
    EXPECT_EQ(fingerprint.Wait(), 0) << fingerprint.GetErrors();
    EXPECT_EQ(fingerprint.GetOutput(),
              answer.fingerprint + "  " + host.folder.GetPath("state/certs.d/00-self-signed.pem") + '\n');
    host.folder.Write("state/certs.d/10.pem", "damaged");
    Support::ChildProcess check = host.Run({"--check"});
    EXPECT_EQ(check.Wait(), 78);
    EXPECT_THAT(check.GetErrors(), HasSubstr("certs.d/10.pem': it has no certificate"));

    process.SendSignal(SIGTERM);
    EXPECT_EQ(process.Wait(), 0) << process.GetErrors();
    EXPECT_THAT(process.GetErrors(), HasSubstr(answer.fingerprint));

    Support::ChildProcess again = host.Run();
    const auto samePort = static_cast<uint16>(std::stoi(again.WaitForLine("listening on https://127.0.0.1:")));
    EXPECT_EQ(Ask(samePort, "GET /healthz HTTP/1.1\r\nHost: localhost\r\n").fingerprint, answer.fingerprint)
        << "the damaged one is left out, and the certificate of the first start is used again";
    again.SendSignal(SIGTERM);
    EXPECT_EQ(again.Wait(), 0);
    EXPECT_THAT(again.GetErrors(), HasSubstr("certs.d/10.pem': it has no certificate"));
}

TEST(Encryption, DoesNotBeginWhereOthersCanPutACertificate)
{
    const EncryptedHost host;
    mkdir(host.folder.GetPath("state/certs.d").c_str(), 0700);
    chmod(host.folder.GetPath("state/certs.d").c_str(), 0777);
    Support::ChildProcess process = host.Run();
    EXPECT_EQ(process.Wait(), 78);
    EXPECT_THAT(process.GetErrors(), HasSubstr("certs.d' can be written by everybody"));
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
