#include "Host/Http/HttpServer.hpp"

#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Http/ResponseWriter.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <netinet/tcp.h>
#include <poll.h>

#include <chrono>
#include <cstddef>
#include <exception>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

// A connection waits for its first bytes, reads (`Read`), parses (`Process`), waits for the handler (`HandleRequest`
// until `Resume`), writes (`Flush`) and begins again, or ends: `Linger` until the client has closed its side, then
// `Close`. The steps follow each other, on whichever thread runs the event loop. The server's lock guards the table of
// connections; a connection takes it only to report its stage, and what the server calls under it takes no lock. A
// connection that has to end is taken out of the table and shut down; the operation in progress then fails, and its
// handler closes.

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using boost::system::error_code;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::chrono::seconds sweepPeriod{1};
constexpr std::chrono::milliseconds acceptPause{100};
/// On the loopback interface segments of 64 KiB would be larger than the buffers; the receiver of a part of one waits
/// 40 ms for the rest before it acknowledges. Segments of a network are smaller.
constexpr int maximumSegmentBytes = 8192;
/// In one step of the event loop, so that connections which are being served have their turn.
constexpr int maximumAccepts = 64;
constexpr std::size_t maximumLoggedBytes = 128;
constexpr std::size_t maximumLingeredBytes = std::size_t{1024} * 1024;

} // namespace

IHttpExchange::~IHttpExchange() = default;

/// One client's connection: reads a request, passes it to the handler, writes the response, and so on, in order. At any
/// time there is either one operation of the socket or one request in progress, so its members need no lock.
/// Kept alive by that operation or request. Threads: as the handlers; `End` from any.
class HttpServer::Connection final : public IHttpExchange,
                                     public ConnectionTable::Entry,
                                     public std::enable_shared_from_this<Connection>
{
public:
    Connection(std::shared_ptr<HttpServer> owner, ClientStream::Socket socket, const asio::ip::address& client)
        : server(std::move(owner)),
          stream(std::move(socket), client, server->secureChannels),
          localAddress(stream.GetLocalAddress()),
          checkSession(
              [this](const HttpRequest& request)
              {
                  // The name of the session's cookie depends on it.
                  (void)CheckHost();
                  return server->hasSession(request);
              }),
          reader(server->configuration.requestLimits, checkSession, stream.IsSecure())
    {
    }

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Closing posts a handler at most; a process without memory for that ends here.
    ~Connection() override // NOLINT(bugprone-exception-escape)
    {
        Close();
    }

    /// Serves the client, or tells it that there are too many connections.
    void Start()
    {
        const ClientNetwork network = GetNetwork(stream.GetClientAddress());
        // With a bit that the numbers of sessions do not have.
        networkId = uint64{1} << 63U | (network.prefix ^ network.address);
        if (server->TryAdd(*this, network))
        {
            WaitForFirstByte();
            return;
        }
        if (!stream.IsSecure())
        {
            keepsConnection = false;
            writer.emplace(false);
            SendProblem(*this, Problems::tooManyConnections);
            (void)stream.TryWrite(writer->GetText());
            stream.ShutdownSend();
        }
    }

    /// Requires: the server's lock is held, so that the socket cannot be closed meanwhile.
    void End() noexcept
    {
        stream.Abort();
    }

    [[nodiscard]] bool HasSession() const noexcept
    {
        return hasSession;
    }

    [[nodiscard]] const HttpRequest& GetRequest() const noexcept override
    {
        return reader.GetRequest();
    }

    [[nodiscard]] BasicString GetClientAddress() const override
    {
        return stream.GetClientAddress().to_string();
    }

    [[nodiscard]] bool IsConnected() noexcept override
    {
        // Errors are reported without being asked for.
        pollfd polled{stream.GetDescriptor(), POLLRDHUP, 0};
        return poll(&polled, 1, 0) == 0;
    }

    void SetSession(uint64 sessionId) noexcept override
    {
        hasSession = true;
        requestSession = sessionId;
    }

    [[nodiscard]] uint64 GetClientId() const noexcept override
    {
        return requestSession.value_or(networkId);
    }

    [[nodiscard]] std::string_view GetRequestId() override
    {
        if (requestId.empty())
        {
            requestId = MakeRequestId();
        }
        return requestId;
    }

    void Send(const HttpResponse& response) override
    {
        if (response.body.size() > server->configuration.maximumUnsentBytes)
        {
            server->Log(LogLevel::Warning,
                        "the response to '{0}' has {1} bytes and is not sent: maximumUnsentBytes is {2}",
                        System::Commons::Text::Truncate(GetRequest().path, maximumLoggedBytes), response.body.size(),
                        server->configuration.maximumUnsentBytes);
            SendProblem(*this, Problems::responseTooLarge);
            return;
        }
        hasSession = hasSession && response.status != 401;
        writer->Write(response, GetRequest(), keepsConnection, requestId);
    }

    void Resume() override
    {
        if (Flush())
        {
            Process();
        }
    }

private:
    void WaitForFirstByte()
    {
        stream.AsyncWaitForInput(
            [self = shared_from_this()](const error_code& error)
            {
                if (error)
                {
                    self->Close();
                    return;
                }
                self->Begin();
            });
    }

    void Begin()
    {
        try
        {
            stream.Open();
            writer.emplace(stream.HasIssuedCertificate());
            if (stream.IsSecure())
            {
                server->Move(*this, ConnectionStage::Handshake);
                ReadFirst();
                return;
            }
            Read();
        }
        catch (const std::exception& exception)
        {
            server->Log(LogLevel::Warning, "cannot serve a connection: {0}", exception.what());
            Close();
        }
    }

    /// A single byte: the reader's buffer is allocated when the handshake is complete.
    void ReadFirst()
    {
        stream.ReadSome([this] { return std::span(&firstByte, 1); },
                        [self = shared_from_this()](const error_code& error, std::size_t count)
                        {
                            if (error)
                            {
                                self->Close();
                                return;
                            }
                            self->reader.GetSpace().front() = self->firstByte;
                            self->reader.Add(count);
                            self->reader.Add(self->stream.TakePending(self->reader.GetSpace()));
                            self->Process();
                        });
    }

    void Read()
    {
        if (stream.IsSecure())
        {
            reader.ReleaseEmptyBuffer();
        }
        stream.AsyncReadSome([this] { return reader.GetSpace(); },
                             [self = shared_from_this()](const error_code& error, std::size_t count)
                             {
                                 if (error)
                                 {
                                     self->Close();
                                     return;
                                 }
                                 self->reader.Add(count);
                                 self->Process();
                             });
    }

    void Process()
    {
        try
        {
            ProcessRequests();
        }
        catch (...)
        {
            // It is not known whether the request has a session, and so neither whether its body may come.
            keepsConnection = false;
            FaultReport::Send(*this, "a client");
            (void)Flush();
        }
    }

    void ProcessRequests()
    {
        while (true)
        {
            switch (reader.Parse())
            {
            case RequestReader::Progress::NeedsMore:
                BeginPart();
                Read();
                return;
            case RequestReader::Progress::Complete:
                if (HandleRequest() == Handling::Deferred || !Flush())
                {
                    return;
                }
                break;
            case RequestReader::Progress::Failed:
                // The client and this server no longer agree where a request begins, so the connection ends.
                keepsConnection = false;
                SendProblem(*this, reader.GetProblem());
                (void)Flush();
                return;
            }
        }
    }

    /// Header and body have a time limit each, and a client that waits for it is told to send the body.
    void BeginPart()
    {
        if (part == reader.GetPart())
        {
            return;
        }
        part = reader.GetPart();
        if (part == RequestReader::Part::Header)
        {
            server->Move(*this, ConnectionStage::Header);
            return;
        }
        server->Move(*this, ConnectionStage::Body);
        if (GetRequest().expectsContinue && !reader.HasMore())
        {
            constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
            // A client that takes no more responses but waits for one that it asked for.
            if (stream.TryWrite(text) != text.size())
            {
                stream.Abort();
            }
        }
    }

    /// Whether the current request's `Host` is one of this host, which also tells whether a proxy encrypts.
    [[nodiscard]] bool CheckHost()
    {
        const auto match = server->hostNames.Find(GetRequest().host, localAddress);
        if (match == HostNames::Match::OwnBehindProxy)
        {
            reader.MarkSecure();
        }
        return match != HostNames::Match::Foreign;
    }

    [[nodiscard]] Handling HandleRequest()
    {
        server->Move(*this, ConnectionStage::Busy);
        requestSession.reset();
        keepsConnection = GetRequest().keepsConnection && !server->isStopping;
        if (!CheckHost())
        {
            return SendProblem(*this, Problems::misdirectedRequest);
        }
        try
        {
            // Of a short query a module may make a long response, with each parameter again.
            if (HasRepetitions(GetRequest().query, server->configuration.requestLimits.maximumRepetitions))
            {
                return SendProblem(*this, Problems::repeatedParameter);
            }
            return server->handler(shared_from_this());
        }
        catch (...)
        {
            return FaultReport::Send(*this, "a client");
        }
    }

    /// True when the response is written and the next request may be read.
    [[nodiscard]] bool Flush()
    {
        const std::string_view text = writer->GetText();
        const auto written = stream.TryWrite(text);
        if (!written)
        {
            Close();
            return false;
        }
        if (*written == text.size())
        {
            return OnWritten();
        }
        server->Move(*this, ConnectionStage::Writing, text.size());
        stream.AsyncWrite(text.substr(*written),
                          [self = shared_from_this()](const error_code& writeError, std::size_t /*count*/)
                          {
                              if (writeError)
                              {
                                  self->Close();
                              }
                              else if (self->OnWritten())
                              {
                                  self->Process();
                              }
                          });
        return false;
    }

    [[nodiscard]] bool OnWritten()
    {
        if (keepsConnection && !server->isStopping)
        {
            writer->Clear();
            requestId.clear();
            reader.BeginRequest();
            part = RequestReader::Part::None;
            server->Move(*this, ConnectionStage::Idle);
            // `Stop` sets isStopping first and then looks for idle connections: one of the two checks sees the other.
            if (!server->isStopping)
            {
                return true;
            }
        }
        EndAfterResponse();
        return false;
    }

    void EndAfterResponse()
    {
        // A client that has its response is not waited for when this was its last request, and it has sent nothing
        // more, or when the server stops.
        const bool isLast = reader.IsComplete() && !GetRequest().keepsConnection && !stream.HasInput();
        if (!reader.HasMore() && (isLast || server->isStopping))
        {
            stream.ShutdownSend();
            Close();
            return;
        }
        stream.ShutdownSend();
        server->Move(*this, ConnectionStage::Closing);
        reader.DropAll();
        Linger();
    }

    /// Reads on until the client has closed its side: closing with unread bytes would destroy the response on its way.
    void Linger()
    {
        stream.AsyncReadSome([this] { return reader.GetSpace(); },
                             [self = shared_from_this()](const error_code& error, std::size_t count)
                             {
                                 self->lingeredBytes += count;
                                 if (error || self->lingeredBytes > maximumLingeredBytes)
                                 {
                                     self->Close();
                                     return;
                                 }
                                 self->Linger();
                             });
    }

    void Close()
    {
        if (stream.IsOpen())
        {
            server->Remove(*this);
            stream.Close();
        }
    }

    const std::shared_ptr<HttpServer> server;
    ClientStream stream;
    const asio::ip::address localAddress;
    const SessionCheck checkSession;
    RequestReader reader;
    /// Empty as long as nothing names the request.
    BasicString requestId;
    /// What the table knows.
    RequestReader::Part part = RequestReader::Part::None;
    char firstByte = 0;
    /// Empty until the first byte.
    std::optional<ResponseWriter> writer;
    std::size_t lingeredBytes = 0;
    bool keepsConnection = true;
    /// Of the last request that asked for one.
    bool hasSession = false;
    /// Of the request in progress.
    std::optional<uint64> requestSession;
    uint64 networkId = 0;
};

HttpServer::HttpServer(asio::io_context& context, const Configuration::HttpConfiguration& configuration,
                       HttpHandler handler, SessionCheck hasSession, SecureChannelFactory secureChannels)
    : context(context),
      configuration(configuration),
      hostNames(configuration.hosts),
      handler(std::move(handler)),
      hasSession(std::move(hasSession)),
      secureChannels(std::move(secureChannels)),
      acceptor(context),
      acceptTimer(context),
      sweepTimer(context),
      table(this->configuration)
{
}

void HttpServer::Listen()
{
    const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(configuration.address), configuration.port);
    try
    {
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        // Connections inherit these.
        acceptor.set_option(asio::socket_base::send_buffer_size(static_cast<int>(configuration.sendBufferBytes)));
        acceptor.set_option(asio::socket_base::receive_buffer_size(receiveBufferBytes));
        acceptor.set_option(asio::detail::socket_option::integer<IPPROTO_TCP, TCP_MAXSEG>(maximumSegmentBytes));
        acceptor.bind(endpoint);
        acceptor.listen();
        acceptor.non_blocking(true);
    }
    catch (const boost::system::system_error& error)
    {
        throw System::Commons::InvalidOperationException::Create(
            "cannot listen on {0} port {1}: {2}", configuration.address, configuration.port, error.code().message());
    }
    Accept();
}

uint16 HttpServer::GetPort() const
{
    return acceptor.local_endpoint().port();
}

void HttpServer::Accept()
{
    acceptor.async_accept(
        [this](const error_code& error, ClientStream::Socket socket)
        {
            if (isStopping)
            {
                return;
            }
            if (error)
            {
                Log(LogLevel::Warning, "cannot accept a connection: {0}", error.message());
                AcceptLater();
                return;
            }
            Serve(std::move(socket));
            ServeWaiting();
            Accept();
        });
}

/// Takes more than one in a step when many clients connect: they wait in a queue of bounded length.
void HttpServer::ServeWaiting()
{
    for (int count = 1; count < maximumAccepts; ++count)
    {
        ClientStream::Socket socket(context);
        error_code error;
        acceptor.accept(socket, error);
        if (error)
        {
            // None waits, or the next `Accept` reports the cause.
            return;
        }
        Serve(std::move(socket));
    }
}

/// The process or the machine has run out of a resource; trying at once would only load the processor.
void HttpServer::AcceptLater()
{
    acceptTimer.expires_after(acceptPause);
    acceptTimer.async_wait(
        [this](const error_code& error)
        {
            if (!error && !isStopping)
            {
                Accept();
            }
        });
}

void HttpServer::Serve(ClientStream::Socket socket)
{
    error_code error;
    const auto client = socket.remote_endpoint(error);
    if (error)
    {
        // The client has gone.
        return;
    }
    try
    {
        std::make_shared<Connection>(shared_from_this(), std::move(socket), client.address())->Start();
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Warning, "cannot serve a connection: {0}", exception.what());
        return;
    }
    if (!isSweeping)
    {
        StartSweep();
    }
}

/// False: too many connections are open, and all of them are busy.
bool HttpServer::TryAdd(Connection& connection, const ClientNetwork& network)
{
    const MutexLock lock(mutex);
    const auto admission = table.Add(connection, network, Clock::now());
    if (admission.displaced != nullptr)
    {
        static_cast<Connection*>(admission.displaced)->End();
    }
    return admission.isAdmitted;
}

/// Any thread. The connection is not used any more when this returns.
void HttpServer::Remove(Connection& connection)
{
    const MutexLock lock(mutex);
    table.Remove(connection);
    if (table.IsEmpty() && drained)
    {
        asio::post(context, std::exchange(drained, nullptr));
    }
}

void HttpServer::Move(Connection& connection, ConnectionStage stage, std::size_t unsentBytes)
{
    const MutexLock lock(mutex);
    table.SetSession(connection, connection.HasSession());
    if (auto* const displaced = table.Move(connection, stage, Clock::now(), unsentBytes))
    {
        static_cast<Connection*>(displaced)->End();
    }
    while (auto* const entry = unsentBytes > 0 ? table.TakeExcess(connection) : nullptr)
    {
        static_cast<Connection*>(entry)->End();
    }
}

void HttpServer::StartSweep()
{
    isSweeping = true;
    sweepTimer.expires_after(sweepPeriod);
    sweepTimer.async_wait(
        [this](const error_code& error)
        {
            if (!error)
            {
                Sweep();
            }
        });
}

void HttpServer::Sweep()
{
    const MutexLock lock(mutex);
    End(table.TakeLate(Clock::now()));
    isSweeping = false;
    if (!table.IsEmpty())
    {
        StartSweep();
    }
}

void HttpServer::Stop(std::function<void()> whenDrained)
{
    error_code ignored;
    acceptor.close(ignored);
    const MutexLock lock(mutex);
    isStopping = true;
    End(table.FindUnused());
    if (table.IsEmpty())
    {
        asio::post(context, std::move(whenDrained));
        return;
    }
    drained = std::move(whenDrained);
}

void HttpServer::EndConnections()
{
    const MutexLock lock(mutex);
    End(table.GetAll());
}

void HttpServer::End(const std::vector<ConnectionTable::Entry*>& entries)
{
    for (auto* const entry : entries)
    {
        static_cast<Connection*>(entry)->End();
    }
}

} // namespace Oxa::Host::Http
