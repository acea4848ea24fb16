#pragma once

#include "Host/Tls/CertificateStore.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/TlsClient.hpp"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <csignal>
#include <memory>
#include <vector>

namespace Oxa::Host::Tls
{

/// A server's and a client's end of one connection, both in this thread.
struct Connection
{
    explicit Connection(ICertificateStore& store, const std::function<void(SSL&)>& setUp = {})
    {
        std::array<int, 2> ends = {};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()), 0);
        serverEnd = System::Commons::FileDescriptor(ends[0]);
        clientEnd = System::Commons::FileDescriptor(ends[1]);
        channel = store.Accept(serverEnd.Get());
        client = std::make_unique<Tests::Support::TlsClient>(clientEnd.Get(), setUp);
    }

    /// Reads what the client has sent.
    BasicString Read()
    {
        std::array<char, 4096> space;
        std::size_t count = 0;
        progress = channel->Read(space, count);
        return {space.data(), progress == Http::ISecureChannel::Progress::Done ? count : 0};
    }

    /// True when both sides agree. What is left in the end is an alert or tickets.
    bool Handshake()
    {
        constexpr int mostFlights = 4;
        bool isComplete = false;
        for (int flight = 0; flight < mostFlights; ++flight)
        {
            isComplete = client->Handshake();
            (void)Read();
        }
        return isComplete && progress == Http::ISecureChannel::Progress::WaitsForInput && client->Read().empty() &&
               client->GetAlert().empty();
    }

    [[nodiscard]] BasicString GetFingerprint() const
    {
        const UniqueX509 certificate(SSL_get1_peer_certificate(&client->Get()));
        std::array<unsigned char, 32> digest = {};
        unsigned count = 0;
        X509_digest(certificate.get(), EVP_sha256(), digest.data(), &count);
        BasicString text;
        for (const unsigned char each : digest)
        {
            text += System::Commons::Text::Format(text.empty() ? "{0:02X}" : ":{0:02X}", each);
        }
        return text;
    }

    System::Commons::FileDescriptor serverEnd;
    System::Commons::FileDescriptor clientEnd;
    std::unique_ptr<Http::ISecureChannel> channel;
    std::unique_ptr<Tests::Support::TlsClient> client;
    Http::ISecureChannel::Progress progress = Http::ISecureChannel::Progress::WaitsForInput;
};

/// A store with a folder and a clock of its own.
class TlsFixture : public testing::Test
{
protected:
    using Fields = std::vector<std::pair<BasicString, BasicString>>;

    TlsFixture()
    {
        // As the program does: the TLS library writes to sockets without a flag against it.
        std::signal(SIGPIPE, SIG_IGN);
        notifications.Subscribe([this](const System::Nm::Notification& each) { published.push_back(each); });
    }

    /// A certificate for `name`, with its key in the same file.
    BasicString WritePem(const BasicString& fileName, const BasicString& name = "cabinet", SystemTime begin = {})
    {
        const BasicString path = folder.GetPath("certs.d") + '/' + fileName;
        mkdir(folder.GetPath("certs.d").c_str(), S_IRWXU);
        Certificate::MakeSelfSigned({name}, begin == SystemTime() ? now : begin).Save(path);
        return path;
    }

    BasicString GetServedFingerprint()
    {
        Connection connection(store);
        EXPECT_TRUE(connection.Handshake());
        return connection.GetFingerprint();
    }

    BasicString GetFingerprint(const BasicString& fileName) const
    {
        const BasicString path = folder.GetPath("certs.d") + '/' + fileName;
        return Certificate(path, path, now).GetFingerprint();
    }

    const Tests::Support::TemporaryFolder folder;
    const Tests::Support::LogRecorder log;
    System::Nm::NotificationManager notifications;
    std::vector<System::Nm::Notification> published;
    std::vector<BasicString> names{"localhost", "cabinet", "192.0.2.1", "2001:db8::1"};
    SystemTime now = std::chrono::system_clock::now();
    CertificateStore store{{folder.GetPath("certs.d"),
                            [this]
                            {
                                return names;
                            }},
                           notifications,
                           [this]
                           {
                               return now;
                           }};
};

} // namespace Oxa::Host::Tls
