#include "Host/Http/HttpServer.hpp"
#include "Host/Tls/TlsFixture.hpp"

#include <arpa/inet.h>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <netinet/in.h>
#include <sys/time.h>

#include <thread>

namespace Oxa::Host::Tls
{

using Http::Handling;
using System::Commons::FileDescriptor;
using testing::HasSubstr;
using testing::Not;

namespace
{

/// More than buffers hold, less than the server keeps for all clients together.
constexpr std::size_t largeBytes = std::size_t{4} * 1024 * 1024;

/// A client that waits, 20 s at the longest.
class Client final
{
public:
    explicit Client(uint16 port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const timeval timeout{20, 0};
        setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        tls = std::make_unique<Tests::Support::TlsClient>(socket.Get());
        EXPECT_TRUE(tls->Handshake());
    }

    /// The next bytes up to and with `end`, or all until the connection's end.
    BasicString ReadUntil(std::string_view end)
    {
        std::size_t found = BasicString::npos;
        while ((found = text.find(end)) == BasicString::npos)
        {
            const BasicString piece = tls->Read();
            if (piece.empty())
            {
                return std::exchange(text, {});
            }
            text += piece;
        }
        const BasicString taken = text.substr(0, found + end.size());
        text.erase(0, taken.size());
        return taken;
    }

    FileDescriptor socket;
    std::unique_ptr<Tests::Support::TlsClient> tls;

private:
    BasicString text;
};

class EncryptedServers : public TlsFixture
{
protected:
    EncryptedServers()
    {
        store.Load();
        server->Listen();
        thread = std::thread([this] { context.run(); });
    }

    ~EncryptedServers() override
    {
        boost::asio::post(context, [this] { server->Stop([this] { context.stop(); }); });
        thread.join();
    }

    static Configuration::HttpConfiguration MakeConfiguration()
    {
        Configuration::HttpConfiguration configuration;
        configuration.port = 0;
        configuration.isSecure = true;
        return configuration;
    }

    static Handling Handle(const std::shared_ptr<Http::IHttpExchange>& exchange)
    {
        const std::string_view path = exchange->GetRequest().path;
        const BasicString body = path == "/large" ? BasicString(largeBytes, 'x') : BasicString(path);
        exchange->Send({200, "text/plain", body + (exchange->IsSecure() ? " secure." : " plain.")});
        return Handling::Completed;
    }

    boost::asio::io_context context;
    std::shared_ptr<Http::HttpServer> server = std::make_shared<Http::HttpServer>(
        context, MakeConfiguration(), [](const auto& exchange) { return Handle(exchange); },
        [](const Http::HttpRequest&) { return false; }, [this](int descriptor) { return store.Accept(descriptor); });
    std::thread thread;
};

TEST_F(EncryptedServers, TellClientsOfPlainHttpToUseEncryption)
{
    for (const BasicString& bytes :
         {BasicString("GET / HTTP/1.1\r\nHost: h\r\n\r\n"), BasicString("PATCH /a"),
          BasicString("SSH-2.0-OpenSSH_9.2\r\n"), BasicString("\0\0\0\0\0\0\0\0", 8), BasicString("\x80\x2e\1\3\1", 5)})
    {
        boost::asio::io_context clientContext;
        boost::asio::ip::tcp::socket client(clientContext);
        client.connect({boost::asio::ip::address_v4::loopback(), server->GetPort()});
        boost::asio::write(client, boost::asio::buffer(bytes));
        BasicString response;
        boost::system::error_code error;
        boost::asio::read(client, boost::asio::dynamic_buffer(response), error);
        const bool isHttp = bytes.starts_with("GET") || bytes.starts_with("PATCH");
        EXPECT_EQ(response.find("tls-required") != BasicString::npos, isHttp) << bytes;
        EXPECT_EQ(response.empty(), !isHttp) << bytes;
    }
}

TEST_F(EncryptedServers, AnswerRequestsThatComeTogetherOrInPieces)
{
    Client client(server->GetPort());
    client.tls->Write("GET /a HTTP/1.1\r\nHost: localhost\r\n\r\nGET /b HTTP/1.1\r\nHost: localhost\r\n\r\nGET /c");
    EXPECT_THAT(client.ReadUntil("/a secure."), HasSubstr("200 OK"));
    EXPECT_THAT(client.ReadUntil("/b secure."), HasSubstr("200 OK"));
    client.tls->Write(" HTTP/1.1\r\n");
    client.tls->Write("Host: localhost\r\n\r\n");
    const BasicString third = client.ReadUntil("/c secure.");
    EXPECT_THAT(third, HasSubstr("200 OK"));
    EXPECT_THAT(third, Not(HasSubstr("Strict-Transport-Security"))) << "the certificate is self-signed";
    client.tls->Write("POST /d HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\nContent-Length: 1\r\n\r\n");
    EXPECT_EQ(client.ReadUntil("\r\n\r\n"), "HTTP/1.1 100 Continue\r\n\r\n");
    client.tls->Write("x");
    EXPECT_THAT(client.ReadUntil("/d secure."), HasSubstr("200 OK"));
    client.tls->Write("GET /e HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(client.ReadUntil("no such text"), HasSubstr("/e secure."));
    EXPECT_TRUE(client.tls->IsClosed());
}

TEST_F(EncryptedServers, SendALargeResponseToASlowReader)
{
    Client client(server->GetPort());
    client.tls->Write("GET /large HTTP/1.1\r\nHost: localhost\r\n\r\nGET /next HTTP/1.1\r\nHost: localhost\r\n\r\n");
    Client other(server->GetPort());
    other.tls->Write("GET /quick HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_THAT(other.ReadUntil("/quick secure."), HasSubstr("200 OK")) << "the slow one does not stop it";
    (void)client.ReadUntil("\r\n\r\n");
    const BasicString body = client.ReadUntil(" secure.");
    EXPECT_EQ(body.size(), largeBytes + std::string_view(" secure.").size());
    EXPECT_EQ(body.find_first_not_of('x'), largeBytes);
    EXPECT_THAT(client.ReadUntil("/next secure."), HasSubstr("200 OK"));
}

TEST_F(EncryptedServers, KeepConnectionsWhileTheCertificateIsReplacedAndNameTheHostWhenItWasIssued)
{
    Client old(server->GetPort());
    (void)WritePem("10.pem");
    store.Reload();
    old.tls->Write("GET /old HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_THAT(old.ReadUntil("/old secure."), Not(HasSubstr("Strict-Transport-Security")));
    Client next(server->GetPort());
    next.tls->Write("GET /new HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_THAT(next.ReadUntil("/new secure."),
                HasSubstr("\r\nStrict-Transport-Security: max-age=31536000; includeSubDomains\r\n"));
}

TEST_F(EncryptedServers, ServeOthersWhileAClientSendsNothingButKeyUpdates)
{
    constexpr int mostUpdates = 20'000;
    Client client(server->GetPort());
    // Buffers take a tenth of that.
    const int sendBufferBytes = 16384;
    setsockopt(client.socket.Get(), SOL_SOCKET, SO_SNDBUF, &sendBufferBytes, sizeof(sendBufferBytes));
    int updates = 0;
    std::jthread flood(
        [&client, &updates]
        {
            while (updates < mostUpdates && client.tls->UpdateKey())
            {
                ++updates;
            }
        });
    Client other(server->GetPort());
    other.tls->Write("GET /quick HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_THAT(other.ReadUntil("/quick secure."), HasSubstr("200 OK"));
    flood.join();
    EXPECT_LT(updates, mostUpdates) << "the server must end the connection";
}

TEST_F(EncryptedServers, StopWithConnectionsInEveryState)
{
    Client idle(server->GetPort());
    Client half(server->GetPort());
    half.tls->Write("GET /a HTTP/1.1\r\n");
    FileDescriptor silent(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(server->GetPort());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(connect(silent.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    Client foreign(server->GetPort());
    foreign.tls->Write("GET /a HTTP/1.1\r\nHost: evil.example\r\n\r\n");
    EXPECT_THAT(foreign.ReadUntil("misdirected-request"), HasSubstr("421 Misdirected Request"));
    // The fixture waits until the server has stopped.
}

} // namespace

} // namespace Oxa::Host::Tls
