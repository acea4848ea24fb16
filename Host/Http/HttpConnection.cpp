#include "Host/Http/HttpConnection.hpp"

#include "Host/Http/AnswerWriter.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/error.hpp>
#include <sodium.h>
#include <sys/socket.h>

#include <cstring>
#include <exception>
#include <limits>
#include <utility>

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr uint32 noDeadline = std::numeric_limits<uint32>::max();
constexpr std::chrono::seconds lingerTimeout{2};
constexpr std::size_t maximumLingeredBytes = std::size_t{1024} * 1024;
// What one large body or answer needed is not kept for ever.
constexpr std::size_t maximumKeptBytes = std::size_t{16} * 1024;

void Shrink(BasicString& text)
{
    if (text.capacity() > maximumKeptBytes)
    {
        BasicString().swap(text);
    }
}

} // namespace

HttpConnection::HttpConnection(HttpServer& server, HttpServer::Socket socket)
    : server(server), socket(std::move(socket)), deadline(noDeadline)
{
}

HttpConnection::~HttpConnection()
{
    readBytes = 0;
    WipeBody();
    Close();
}

void HttpConnection::Start()
{
    BeginRequest();
    SetDeadline(server.GetConfiguration().idleTimeout);
    Read();
}

void HttpConnection::Refuse()
{
    const BasicString text = FormatProblem(Problems::tooManyConnections);
    WriteAnswer(output, {503, problemMediaType, "Retry-After: 1\r\n"}, text, {false, false, false});
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
    return parser->GetRequest();
}

/// What was read beyond the last request is the beginning of the next one.
void HttpConnection::BeginRequest()
{
    std::memmove(buffer.data(), buffer.data() + parsedBytes, readBytes - parsedBytes);
    readBytes -= parsedBytes;
    parsedBytes = 0;
    bodyOffset = 0;
    isHeaderStarted = false;
    WipeBody();
    Shrink(body);
    parser.emplace(body);
}

/// A body may hold a password.
void HttpConnection::WipeBody() noexcept
{
    if (!body.empty())
    {
        sodium_memzero(body.data(), body.size());
        sodium_memzero(buffer.data() + readBytes, bufferBytes - readBytes);
    }
}

void HttpConnection::Read()
{
    socket.async_read_some(asio::buffer(buffer.data() + readBytes, bufferBytes - readBytes),
                           [self = shared_from_this()](const error_code& error, std::size_t count)
                           {
                               if (error)
                               {
                                   self->Close();
                                   return;
                               }
                               self->OnRead(count);
                           });
}

void HttpConnection::OnRead(std::size_t count)
{
    readBytes += count;
    Process();
}

void HttpConnection::Process()
{
    while (true)
    {
        switch (Parse())
        {
        case ParseResult::NeedsMore:
            Read();
            return;
        case ParseResult::Complete:
            if (HandleRequest() == Handling::Deferred)
            {
                return;
            }
            break;
        case ParseResult::Failed:
            break;
        }
        if (!Flush())
        {
            return;
        }
    }
}

HttpConnection::ParseResult HttpConnection::Parse()
{
    if (!isHeaderStarted)
    {
        SkipEmptyLines();
    }
    if (parsedBytes < readBytes && !isHeaderStarted)
    {
        isHeaderStarted = true;
        isIdle.store(false, std::memory_order_relaxed);
        SetDeadline(server.GetConfiguration().headerTimeout);
    }
    while (parsedBytes < readBytes || parser->is_header_done())
    {
        const bool wasHeaderDone = parser->is_header_done();
        error_code error;
        parsedBytes += parser->put(asio::buffer(buffer.data() + parsedBytes, readBytes - parsedBytes), error);
        if (error && error != http::error::need_more)
        {
            return OnParseError(error);
        }
        if (!wasHeaderDone && IsHeaderTooLarge())
        {
            return OnParseError(http::error::header_limit);
        }
        if (parser->is_done())
        {
            keepsConnection = parser->keep_alive() && !server.IsStopping();
            return ParseResult::Complete;
        }
        if (!wasHeaderDone && parser->is_header_done() && !TryPrepareBody())
        {
            return ParseResult::Failed;
        }
        if (error == http::error::need_more || parsedBytes == readBytes)
        {
            break;
        }
    }
    if (parser->is_header_done())
    {
        // Pieces of the body take turns in the room behind the header.
        std::memmove(buffer.data() + bodyOffset, buffer.data() + parsedBytes, readBytes - parsedBytes);
        readBytes -= parsedBytes - bodyOffset;
        parsedBytes = bodyOffset;
    }
    return readBytes < bufferBytes ? ParseResult::NeedsMore : OnParseError(http::error::header_limit);
}

/// Some clients send one behind a body.
void HttpConnection::SkipEmptyLines() noexcept
{
    while (parsedBytes < readBytes && (buffer[parsedBytes] == '\r' || buffer[parsedBytes] == '\n'))
    {
        ++parsedBytes;
    }
    if (parsedBytes == readBytes)
    {
        parsedBytes = 0;
        readBytes = 0;
    }
}

/// The parser's own limit depends on the pieces in which the header comes.
bool HttpConnection::IsHeaderTooLarge() const noexcept
{
    return parser->is_header_done() ? parsedBytes > RequestParser::maximumHeaderBytes
                                    : readBytes >= RequestParser::maximumHeaderBytes;
}

HttpConnection::ParseResult HttpConnection::OnParseError(const error_code& error)
{
    if (error == http::error::header_limit)
    {
        Fail(Problems::headerTooLarge);
    }
    else
    {
        Fail(error == http::error::body_limit ? Problems::bodyTooLarge : Problems::malformedRequest);
    }
    return ParseResult::Failed;
}

/// Between header and body: the time for the body begins, and a client that asks is told to go on.
bool HttpConnection::TryPrepareBody()
{
    bodyOffset = parsedBytes;
    SetDeadline(server.GetConfiguration().bodyTimeout);
    const std::string_view expectation = parser->GetExpectation();
    if (expectation.empty() || parser->IsHttp10())
    {
        return true;
    }
    if (!boost::beast::iequals(boost::beast::string_view(expectation.data(), expectation.size()), "100-continue"))
    {
        Fail(Problems::unknownExpectation);
        return false;
    }
    if (parsedBytes == readBytes)
    {
        constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
        error_code ignored;
        socket.write_some(asio::buffer(text.data(), text.size()), ignored);
    }
    return true;
}

Handling HttpConnection::HandleRequest()
{
    ClearDeadline();
    try
    {
        return server.GetHandler().Handle(shared_from_this());
    }
    catch (const std::exception& exception)
    {
        const BasicString requestId = CreateRequestId();
        Log(LogLevel::Error, "request {0}: {1}", requestId, exception.what());
        SendProblem(*this, Problems::internalError, requestId);
    }
    catch (...)
    {
        SendProblem(*this, Problems::internalError);
    }
    return Handling::Answered;
}

/// The client and this server no longer agree where a request begins, so the connection ends.
void HttpConnection::Fail(const Problem& problem)
{
    keepsConnection = false;
    SendProblem(*this, problem);
}

void HttpConnection::Send(const HttpAnswer& answer, std::string_view answerBody)
{
    const AnswerForm form{GetRequest().method == HttpMethod::Head, parser->IsHttp10(), keepsConnection};
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
    BeginRequest();
    SetDeadline(server.GetConfiguration().idleTimeout);
    // In this order: a server that stops sets its flag first and looks at idle connections then.
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
    if (server.IsStopping() && parsedBytes == readBytes)
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
    }
    socket.async_read_some(asio::buffer(buffer),
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
