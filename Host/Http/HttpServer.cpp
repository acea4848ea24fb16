#include "Host/Http/HttpServer.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Http/ResponseWriter.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <cstddef>
#include <limits>
#include <string_view>
#include <utility>

// A connection reads (`Read`), parses (`Process`), waits for the handler (`HandleRequest` until `Resume`), writes
// (`Flush`) and begins again, or ends: `Linger` until the client has closed its side, then `Close`. The steps follow
// each other, on whichever thread runs the event loop. The server's lock guards which connections exist; a connection
// takes it only to add or remove itself, and what the server calls under it takes no lock.

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
constexpr uint32 noDeadline = std::numeric_limits<uint32>::max();
constexpr std::chrono::seconds lingerTimeout{2};
constexpr std::size_t maximumLingeredBytes = std::size_t{1024} * 1024;

} // namespace

IHttpExchange::~IHttpExchange() = default;

/// One client's connection: reads a request, passes it to the handler, writes the response, and so on, in order. At any
/// time there is either one operation of the socket or one request in progress, so its members need no lock.
/// Kept alive by that operation or request. Threads: as the handlers; `End…` from any.
class HttpServer::Connection final : public IHttpExchange, public std::enable_shared_from_this<Connection>
{
public:
    Connection(std::shared_ptr<HttpServer> owner, ClientStream::Socket socket)
        : server(std::move(owner)),
          stream(std::move(socket), server->secureChannels),
          localAddress(stream.GetLocalAddress()),
          reader(server->configuration.requestLimits, server->hasSession, stream.IsSecure()),
          writer(stream.HasIssuedCertificate())
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
        if (server->TryAdd(*this))
        {
            SetDeadline(server->configuration.idleTimeout);
            Read();
            return;
        }
        keepsConnection = false;
        SendProblem(*this, Problems::tooManyConnections);
        (void)stream.TryWrite(writer.GetText());
        stream.ShutdownSend();
    }

    // Requires: the server's lock is held, so that the socket cannot be closed meanwhile.

    void EndWhenLate(uint32 now) noexcept
    {
        if (deadline.load(std::memory_order_relaxed) <= now)
        {
            End();
        }
    }

    void EndWhenIdle() noexcept
    {
        if (isIdle)
        {
            End();
        }
    }

    void End() noexcept
    {
        // The operation in progress fails, or the next one, and its handler closes.
        stream.Abort();
    }

    [[nodiscard]] const HttpRequest& GetRequest() const noexcept override
    {
        return reader.GetRequest();
    }

    [[nodiscard]] BasicString GetClientAddress() const override
    {
        return stream.GetClientAddress();
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
        writer.Write(response, GetRequest(), keepsConnection, requestId);
    }

    void Resume() override
    {
        if (Flush())
        {
            Process();
        }
    }

private:
    void Read()
    {
        stream.AsyncReadSome(reader.GetSpace(),
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
            SetDeadline(server->configuration.headerTimeout);
            return;
        }
        SetDeadline(server->configuration.bodyTimeout);
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

    [[nodiscard]] Handling HandleRequest()
    {
        isIdle.store(false, std::memory_order_relaxed);
        deadline.store(noDeadline, std::memory_order_relaxed);
        keepsConnection = GetRequest().keepsConnection && !server->isStopping;
        switch (server->hostNames.Find(GetRequest().host, localAddress))
        {
        case HostNames::Match::Foreign:
            return SendProblem(*this, Problems::misdirectedRequest);
        case HostNames::Match::OwnBehindProxy:
            reader.MarkSecure();
            break;
        case HostNames::Match::Own:
            break;
        }
        try
        {
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
        const std::string_view text = writer.GetText();
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
        SetDeadline(server->configuration.writeTimeout);
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
            writer.Clear();
            requestId.clear();
            reader.BeginRequest();
            part = RequestReader::Part::None;
            SetDeadline(server->configuration.idleTimeout);
            // The order matters: `Stop` sets isStopping first and then looks for idle connections, so one of the two
            // checks sees the other.
            isIdle = true;
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
        // A server that stops does not wait for clients that have their response and have sent nothing more.
        if (server->isStopping && !reader.HasMore())
        {
            Close();
            return;
        }
        stream.ShutdownSend();
        SetDeadline(lingerTimeout);
        reader.DropAll();
        Linger();
    }

    /// Reads on until the client has closed its side: closing with unread bytes would destroy the response on its way.
    void Linger()
    {
        stream.AsyncReadSome(reader.GetSpace(),
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

    void SetDeadline(std::chrono::seconds timeout) noexcept
    {
        // One more: the current tick may be over in a moment.
        const uint32 now = server->tick.load(std::memory_order_relaxed);
        deadline.store(now + static_cast<uint32>(timeout.count()) + 1, std::memory_order_relaxed);
    }

    const std::shared_ptr<HttpServer> server;
    ClientStream stream;
    const asio::ip::address localAddress;
    RequestReader reader;
    /// Empty as long as nothing names the request.
    BasicString requestId;
    /// Whose time limit is running.
    RequestReader::Part part = RequestReader::Part::None;
    ResponseWriter writer;
    std::size_t lingeredBytes = 0;
    bool keepsConnection = true;
    /// In ticks.
    std::atomic<uint32> deadline = noDeadline;
    /// No complete request waits for its response, so a server that stops need not wait for this connection.
    std::atomic<bool> isIdle = true;
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
      sweepTimer(context)
{
}

void HttpServer::Listen()
{
    const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(configuration.address), configuration.port);
    try
    {
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
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
            Accept();
        });
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
    try
    {
        std::make_shared<Connection>(shared_from_this(), std::move(socket))->Start();
    }
    catch (const System::Commons::Exception& exception)
    {
        Log(LogLevel::Warning, "cannot serve a connection: {0}", exception.GetMessage());
        return;
    }
    if (!isSweeping)
    {
        StartSweep();
    }
}

/// False: too many connections are open.
bool HttpServer::TryAdd(Connection& connection)
{
    const MutexLock lock(mutex);
    return connections.size() < configuration.maximumConnections && connections.insert(&connection).second;
}

/// Any thread. The connection is not used any more when this returns.
void HttpServer::Remove(Connection& connection)
{
    const MutexLock lock(mutex);
    connections.erase(&connection);
    if (connections.empty() && drained)
    {
        asio::post(context, std::exchange(drained, nullptr));
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
    const uint32 now = ++tick;
    const MutexLock lock(mutex);
    for (Connection* const connection : connections)
    {
        connection->EndWhenLate(now);
    }
    isSweeping = false;
    if (!connections.empty())
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
    for (Connection* const connection : connections)
    {
        connection->EndWhenIdle();
    }
    if (connections.empty())
    {
        asio::post(context, std::move(whenDrained));
        return;
    }
    drained = std::move(whenDrained);
}

void HttpServer::EndConnections()
{
    const MutexLock lock(mutex);
    for (Connection* const connection : connections)
    {
        connection->End();
    }
}

} // namespace Oxa::Host::Http
