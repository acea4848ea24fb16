#include "Host/Http/RequestReader.hpp"

#include "Host/Http/KeptStorage.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <sodium.h>

#include <cstring>

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

RequestReader::RequestReader()
{
    parser.emplace(body);
}

RequestReader::~RequestReader()
{
    DropAll();
}

void RequestReader::Add(std::size_t count) noexcept
{
    readBytes += count;
}

RequestReader::Progress RequestReader::Parse()
{
    if (isHeaderBegun)
    {
        return ParseRequest();
    }
    SkipEmptyLines();
    isHeaderBegun = HasMore();
    return isHeaderBegun ? Progress::HeaderBegins : Progress::NeedsMore;
}

/// Some clients send one behind a body.
void RequestReader::SkipEmptyLines() noexcept
{
    while (HasMore() && (buffer[parsedBytes] == '\r' || buffer[parsedBytes] == '\n'))
    {
        ++parsedBytes;
    }
    if (!HasMore())
    {
        parsedBytes = 0;
        readBytes = 0;
    }
}

RequestReader::Progress RequestReader::ParseRequest()
{
    error_code error;
    while (HasMore() && error != http::error::need_more)
    {
        const bool wasHeaderDone = parser->is_header_done();
        parsedBytes += parser->put(asio::buffer(buffer.data() + parsedBytes, readBytes - parsedBytes), error);
        if (error && error != http::error::need_more)
        {
            return Fail(error);
        }
        if (!wasHeaderDone && IsHeaderTooLarge())
        {
            return Fail(http::error::header_limit);
        }
        if (parser->is_done())
        {
            return Progress::RequestEnds;
        }
        if (!wasHeaderDone && parser->is_header_done())
        {
            bodyOffset = parsedBytes;
            return Progress::HeaderEnds;
        }
    }
    return MakeSpace();
}

/// The parser's own limit depends on the pieces in which the header comes.
bool RequestReader::IsHeaderTooLarge() const noexcept
{
    return parser->is_header_done() ? parsedBytes > RequestParser::maximumHeaderBytes
                                    : readBytes >= RequestParser::maximumHeaderBytes;
}

RequestReader::Progress RequestReader::MakeSpace()
{
    if (parser->is_header_done())
    {
        // Each piece of the body is read into the space behind the header and reuses it.
        std::memmove(buffer.data() + bodyOffset, buffer.data() + parsedBytes, readBytes - parsedBytes);
        readBytes -= parsedBytes - bodyOffset;
        parsedBytes = bodyOffset;
    }
    return readBytes < bufferBytes ? Progress::NeedsMore : Fail(http::error::header_limit);
}

RequestReader::Progress RequestReader::Fail(const error_code& error)
{
    if (error == http::error::header_limit)
    {
        problem = &Problems::headerTooLarge;
    }
    else
    {
        problem = error == http::error::body_limit ? &Problems::bodyTooLarge : &Problems::malformedRequest;
    }
    return Progress::Failed;
}

void RequestReader::BeginRequest()
{
    std::memmove(buffer.data(), buffer.data() + parsedBytes, readBytes - parsedBytes);
    readBytes -= parsedBytes;
    parsedBytes = 0;
    bodyOffset = 0;
    isHeaderBegun = false;
    WipeBody();
    Shrink(body);
    parser.emplace(body);
}

void RequestReader::DropAll() noexcept
{
    parsedBytes = 0;
    readBytes = 0;
    WipeBody();
}

void RequestReader::WipeBody() noexcept
{
    if (!body.empty())
    {
        sodium_memzero(body.data(), body.size());
        sodium_memzero(buffer.data() + readBytes, bufferBytes - readBytes);
    }
}

} // namespace Oxa::Host::Http
