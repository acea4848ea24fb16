#include "Host/Http/HttpConnection.hpp"

#include "Host/Http/ConnectionGroup.hpp"
#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Http/RequestReader.hpp"
#include "Host/Http/ResponseWriter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <poll.h>

#include <cstddef>
#include <exception>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

// A connection waits for its first bytes, reads (`Read`), parses (`Process`), waits for the handler (`HandleRequest`
// until `Resume`), writes (`Flush`) and begins again, or ends: `Linger` until the client has closed its side, then
// `Close`. The steps follow each other, on whichever thread runs the event loop. A connection that has to end is taken
// out of its group and shut down; the operation in progress then fails, and its handler closes.

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using boost::system::error_code;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::size_t maximumLoggedBytes = 128;
constexpr std::size_t maximumLingeredBytes = std::size_t{1024} * 1024;

} // namespace

IHttpExchange::~IHttpExchange() = default;

/// One client's connection: reads a request, passes it to the handler, writes the response, and so on, in order. At any
/// time there is either one operation of the socket or one request in progress, so its members need no lock.
/// Kept alive by that operation or request. Threads: as the handlers; `End` from any.
class HttpConnection final : public IHttpExchange,
                             public ConnectionGroup::Member,
                             public std::enable_shared_from_this<HttpConnection>,
                             private System::Commons::Diagnostics::Logging::Loggable<HttpConnection>
{
public:
    HttpConnection(std::shared_ptr<ConnectionGroup> newGroup, ClientStream::Socket socket,
                   const asio::ip::address& client)
        : group(std::move(newGroup)),
          service(group->GetService()),
          stream(std::move(socket), client, service.secureChannels),
          localAddress(stream.GetLocalAddress()),
          checkSession(
              [this](const HttpRequest& request)
              {
                  // The name of the session's cookie depends on it.
                  (void)CheckHost();
                  return service.hasSession(request);
              }),
          reader(service.configuration.requestLimits, checkSession, stream.IsSecure())
    {
    }

    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    // Closing posts a handler at most; a process without memory for that ends here.
    ~HttpConnection() override // NOLINT(bugprone-exception-escape)
    {
        Close();
    }

    /// Serves the client, or tells it that there are too many connections.
    void Start()
    {
        const ClientNetwork network = GetNetwork(stream.GetClientAddress());
        // With a bit that the numbers of sessions do not have.
        networkId = uint64{1} << 63U | (network.prefix ^ network.address);
        if (group->TryAdd(*this, network))
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

    void End() noexcept override
    {
        stream.Abort();
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
        if (response.body.size() > service.configuration.maximumUnsentBytes)
        {
            Log(LogLevel::Warning, "the response to '{0}' has {1} bytes and is not sent: maximumUnsentBytes is {2}",
                System::Commons::Text::Truncate(GetRequest().path, maximumLoggedBytes), response.body.size(),
                service.configuration.maximumUnsentBytes);
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
                Move(ConnectionStage::Handshake);
                ReadFirst();
                return;
            }
            Read();
        }
        catch (const std::exception& exception)
        {
            Log(LogLevel::Warning, "cannot serve a connection: {0}", exception.what());
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
            Move(ConnectionStage::Header);
            return;
        }
        Move(ConnectionStage::Body);
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
        const auto match = service.hostNames.Find(GetRequest().host, localAddress);
        if (match == HostNames::Match::OwnBehindProxy)
        {
            reader.MarkSecure();
        }
        return match != HostNames::Match::Foreign;
    }

    [[nodiscard]] Handling HandleRequest()
    {
        Move(ConnectionStage::Busy);
        requestSession.reset();
        keepsConnection = GetRequest().keepsConnection && !group->IsStopping();
        if (!CheckHost())
        {
            return SendProblem(*this, Problems::misdirectedRequest);
        }
        try
        {
            // Of a short query a module may make a long response, with each parameter again.
            if (HasRepetitions(GetRequest().query, service.configuration.requestLimits.maximumRepetitions))
            {
                return SendProblem(*this, Problems::repeatedParameter);
            }
            return service.handler(shared_from_this());
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
        Move(ConnectionStage::Writing, text.size());
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
        if (keepsConnection && !group->IsStopping())
        {
            writer->Clear();
            requestId.clear();
            reader.BeginRequest();
            part = RequestReader::Part::None;
            Move(ConnectionStage::Idle);
            // `ConnectionGroup::Stop` marks the group first and then looks for idle connections: one of the two checks
            // sees the other.
            if (!group->IsStopping())
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
        if (!reader.HasMore() && (isLast || group->IsStopping()))
        {
            stream.ShutdownSend();
            Close();
            return;
        }
        stream.ShutdownSend();
        Move(ConnectionStage::Closing);
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

    void Move(ConnectionStage stage, std::size_t unsentBytes = 0)
    {
        group->Move(*this, stage, hasSession, unsentBytes);
    }

    void Close()
    {
        if (stream.IsOpen())
        {
            group->Remove(*this);
            stream.Close();
        }
    }

    const std::shared_ptr<ConnectionGroup> group;
    const HttpService& service;
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

void ServeClient(std::shared_ptr<ConnectionGroup> group, ClientStream::Socket socket, const asio::ip::address& client)
{
    std::make_shared<HttpConnection>(std::move(group), std::move(socket), client)->Start();
}

} // namespace Oxa::Host::Http
