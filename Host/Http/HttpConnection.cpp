#include "Host/Http/HttpConnection.hpp"

#include "Host/Http/AnswerWriter.hpp"
#include "Host/Http/FaultReport.hpp"
#include "Host/Http/KeptStorage.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <sys/socket.h>

#include <limits>
#include <utility>

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using boost::system::error_code;

namespace
{

constexpr uint32 noDeadline = std::numeric_limits<uint32>::max();
constexpr std::chrono::seconds lingerTimeout{2};
constexpr std::size_t maximumLingeredBytes = std::size_t{1024} * 1024;

} // namespace

HttpConnection::HttpConnection(HttpServer& server, HttpServer::Socket socket)
    : server(server), socket(std::move(socket)), deadline(noDeadline)
{
}

HttpConnection::~HttpConnection()
{
    Close();
}

void HttpConnection::Start()
{
    SetDeadline(server.GetConfiguration().idleTimeout);
    Read();
}

void HttpConnection::Refuse()
{
    const BasicString text = FormatProblem(Problems::tooManyConnections);
    WriteAnswer(output, {.status = 503, .mediaType = problemMediaType, .fields = retryAfterField}, text,
                {.keepsConnection = false});
    error_code ignored;
    socket.write_some(asio::buffer(output), ignored);
    socket.shutdown(HttpServer::Socket::shutdown_send, ignored);
}

void HttpConnection::EndWhenLate(uint32 now) noexcept
{
    if (deadline.load(std::memory_order_relaxed) <= now)
    {
        End();
    }
}

void HttpConnection::EndWhenIdle() noexcept
{
    if (isIdle)
    {
        End();
    }
}

void HttpConnection::End() noexcept
{
    // The operation under way fails, or the next one, and its handler closes.
    shutdown(socket.native_handle(), SHUT_RDWR);
}

const HttpRequest& HttpConnection::GetRequest() const noexcept
{
    return reader.GetParser().GetRequest();
}

BasicString HttpConnection::GetClientAddress() const
{
    error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    return error ? BasicString() : endpoint.address().to_string();
}

void HttpConnection::Read()
{
    socket.async_read_some(asio::buffer(reader.GetSpace(), reader.GetSpaceBytes()),
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

void HttpConnection::Process()
{
    while (true)
    {
        switch (reader.Parse())
        {
        case RequestReader::Progress::NeedsMore:
            Read();
            return;
        case RequestReader::Progress::HeaderBegins:
            SetDeadline(server.GetConfiguration().headerTimeout);
            break;
        case RequestReader::Progress::HeaderEnds:
            BeginBody();
            break;
        case RequestReader::Progress::RequestEnds:
            if (HandleRequest() == Handling::Deferred || !Flush())
            {
                return;
            }
            break;
        case RequestReader::Progress::Failed:
            Fail(reader.GetProblem());
            return;
        }
    }
}

/// The time for the body begins, and a client that asks is told to go on.
void HttpConnection::BeginBody()
{
    SetDeadline(server.GetConfiguration().bodyTimeout);
    if (reader.GetParser().ExpectsContinue() && !reader.HasMore())
    {
        constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
        error_code ignored;
        socket.write_some(asio::buffer(text.data(), text.size()), ignored);
    }
}

Handling HttpConnection::HandleRequest()
{
    isIdle.store(false, std::memory_order_relaxed);
    ClearDeadline();
    keepsConnection = reader.GetParser().KeepsConnection() && !server.IsStopping();
    try
    {
        return server.GetHandler().Handle(shared_from_this());
    }
    catch (...)
    {
        FaultReport::Answer(*this, "a client");
    }
    return Handling::Answered;
}

/// The client and this server no longer agree where a request begins, so the connection ends.
void HttpConnection::Fail(const Problem& problem)
{
    keepsConnection = false;
    SendProblem(*this, problem);
    (void)Flush();
}

void HttpConnection::Send(const HttpAnswer& answer, std::string_view answerBody)
{
    const AnswerForm form{GetRequest().method == HttpMethod::Head, reader.GetParser().IsHttp10(), keepsConnection};
    WriteAnswer(output, answer, answerBody, form);
}

void HttpConnection::Resume()
{
    if (Flush())
    {
        Process();
    }
}

/// True when the answer is out and the next request may be read.
bool HttpConnection::Flush()
{
    error_code error;
    const std::size_t written = socket.write_some(asio::buffer(output), error);
    if (!error && written == output.size())
    {
        return OnWritten();
    }
    if (error && error != asio::error::would_block)
    {
        Close();
        return false;
    }
    WriteRest(written);
    return false;
}

void HttpConnection::WriteRest(std::size_t written)
{
    SetDeadline(server.GetConfiguration().writeTimeout);
    asio::async_write(socket, asio::buffer(output.data() + written, output.size() - written),
                      [self = shared_from_this()](const error_code& error, std::size_t /*count*/)
                      {
                          if (error)
                          {
                              self->Close();
                          }
                          else if (self->OnWritten())
                          {
                              self->Process();
                          }
                      });
}

bool HttpConnection::OnWritten()
{
    if (!keepsConnection || server.IsStopping())
    {
        EndAfterAnswer();
        return false;
    }
    Shrink(output);
    reader.BeginRequest();
    SetDeadline(server.GetConfiguration().idleTimeout);
    // The order matters: `Stop` sets isStopping first and then looks for idle connections, so one of the two checks
    // sees the other.
    isIdle = true;
    if (server.IsStopping())
    {
        EndAfterAnswer();
        return false;
    }
    return true;
}

void HttpConnection::EndAfterAnswer()
{
    // A server that ends waits for nobody who has his answer and has sent nothing more.
    if (server.IsStopping() && !reader.HasMore())
    {
        Close();
        return;
    }
    Linger();
}

/// Reads on until the client has closed its side: closing with bytes unread would take the answer from the client.
void HttpConnection::Linger()
{
    error_code ignored;
    if (lingeredBytes == 0)
    {
        socket.shutdown(HttpServer::Socket::shutdown_send, ignored);
        SetDeadline(lingerTimeout);
        reader.DropAll();
    }
    socket.async_read_some(asio::buffer(reader.GetSpace(), reader.GetSpaceBytes()),
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

void HttpConnection::Close()
{
    if (!socket.is_open())
    {
        return;
    }
    server.Remove(*this);
    error_code ignored;
    socket.close(ignored);
}

void HttpConnection::SetDeadline(std::chrono::seconds timeout) noexcept
{
    // One more: the current tick may be over in a moment.
    deadline.store(server.GetTick() + static_cast<uint32>(timeout.count()) + 1, std::memory_order_relaxed);
}

void HttpConnection::ClearDeadline() noexcept
{
    deadline.store(noDeadline, std::memory_order_relaxed);
}

} // namespace Oxa::Host::Http
