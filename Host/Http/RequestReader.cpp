#include "Host/Http/RequestReader.hpp"

#include "Host/Http/KeptStorage.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

// The header is parsed line by line, each when it is complete, and so are chunk sizes and trailers. What is too long is
// known from the first byte that does not fit, so nothing depends on the pieces in which the bytes come. The header
// stays at the buffer's beginning until the request is answered; what comes behind it is copied into the body, and its
// space is used again.

namespace Oxa::Host::Http
{

RequestReader::~RequestReader()
{
    DropAll();
}

RequestReader::Progress RequestReader::Parse()
{
    while (problem == nullptr)
    {
        if (const auto progress = ParseNext())
        {
            return *progress;
        }
    }
    return Progress::Failed;
}

std::optional<RequestReader::Progress> RequestReader::ParseNext()
{
    switch (state)
    {
    case State::BeforeRequest:
        return ParseBeginning();
    case State::RequestLine:
        return ParseRequestLine();
    case State::Fields:
        return ParseField();
    case State::Body:
        return ParseBody(State::Complete);
    case State::ChunkSize:
        return ParseChunkSize();
    case State::ChunkData:
        return ParseBody(State::ChunkEnd);
    case State::ChunkEnd:
        return ParseChunkEnd();
    case State::Trailers:
        return ParseTrailer();
    case State::Complete:
        break;
    }
    return EndRequest();
}

/// Some clients send an empty line behind a body.
std::optional<RequestReader::Progress> RequestReader::ParseBeginning()
{
    constexpr std::string_view emptyLine = "\r\n";
    while (GetUnparsed().starts_with(emptyLine))
    {
        parsedBytes += emptyLine.size();
    }
    MoveUnparsedTo(0);
    if (emptyLine.starts_with(GetUnparsed()))
    {
        return Progress::NeedsMore;
    }
    state = State::RequestLine;
    return Progress::HeaderBegins;
}

std::optional<RequestReader::Progress> RequestReader::ParseRequestLine()
{
    // A client that speaks something else, such as TLS, may never end a line.
    if (!RequestParser::IsMethodCharacter(buffer.front()))
    {
        return Fail(Problems::malformedRequest);
    }
    const auto line = TakeHeaderLine(Problems::targetTooLong);
    if (!line)
    {
        return MakeSpace();
    }
    problem = parser.ParseRequestLine(*line);
    state = State::Fields;
    return std::nullopt;
}

std::optional<RequestReader::Progress> RequestReader::ParseField()
{
    const auto line = TakeHeaderLine(Problems::headerTooLarge);
    if (!line)
    {
        return MakeSpace();
    }
    if (line->empty())
    {
        return EndHeader();
    }
    problem = parser.ParseField(*line);
    return std::nullopt;
}

RequestReader::Progress RequestReader::EndHeader()
{
    if (const Problem* const cause = parser.EndHeader())
    {
        return Fail(*cause);
    }
    bodyOffset = parsedBytes;
    remainingBytes = parser.GetBodyBytes();
    if (!parser.IsChunked() && remainingBytes == 0)
    {
        return EndRequest();
    }
    // All at once: a reallocation would leave a copy behind that is not wiped.
    body.reserve(parser.IsChunked() ? RequestParser::maximumBodyBytes : remainingBytes);
    state = parser.IsChunked() ? State::ChunkSize : State::Body;
    return Progress::HeaderEnds;
}

std::optional<RequestReader::Progress> RequestReader::ParseBody(State next)
{
    const std::string_view piece = GetUnparsed().substr(0, remainingBytes);
    body += piece;
    parsedBytes += piece.size();
    remainingBytes -= piece.size();
    if (remainingBytes != 0)
    {
        return MakeSpace();
    }
    state = next;
    return std::nullopt;
}

std::optional<RequestReader::Progress> RequestReader::ParseChunkSize()
{
    const auto line = TakeLineBehindHeader();
    if (!line)
    {
        return MakeSpace();
    }
    const auto size = RequestParser::ParseChunkSize(*line);
    if (!size)
    {
        return Fail(Problems::malformedRequest);
    }
    if (*size > RequestParser::maximumBodyBytes - body.size())
    {
        return Fail(Problems::bodyTooLarge);
    }
    remainingBytes = static_cast<std::size_t>(*size);
    state = *size == 0 ? State::Trailers : State::ChunkData;
    return std::nullopt;
}

std::optional<RequestReader::Progress> RequestReader::ParseChunkEnd()
{
    if (!TakeLine(2, Problems::malformedRequest))
    {
        return MakeSpace();
    }
    state = State::ChunkSize;
    return std::nullopt;
}

std::optional<RequestReader::Progress> RequestReader::ParseTrailer()
{
    const auto line = TakeLineBehindHeader();
    if (!line)
    {
        return MakeSpace();
    }
    if (line->empty())
    {
        return EndRequest();
    }
    problem = parser.ParseTrailer(*line);
    return std::nullopt;
}

RequestReader::Progress RequestReader::EndRequest()
{
    state = State::Complete;
    parser.SetBody(body);
    return Progress::RequestEnds;
}

/// The next line without its end; empty: it is not complete yet, or there is a problem. A line ends with CR LF, and
/// control characters in it are left to its parser.
std::optional<std::string_view> RequestReader::TakeLine(std::size_t maximumBytes, const Problem& tooLong)
{
    const std::string_view unparsed = GetUnparsed().substr(0, maximumBytes);
    const std::size_t end = unparsed.find('\n');
    if (end == std::string_view::npos)
    {
        problem = unparsed.size() == maximumBytes ? &tooLong : nullptr;
        return std::nullopt;
    }
    if (end == 0 || unparsed[end - 1] != '\r')
    {
        problem = &Problems::malformedRequest;
        return std::nullopt;
    }
    parsedBytes += end + 1;
    return unparsed.substr(0, end - 1);
}

std::optional<std::string_view> RequestReader::TakeHeaderLine(const Problem& tooLong)
{
    const auto line = TakeLine(RequestParser::maximumHeaderBytes - parsedBytes, tooLong);
    headerBytes = parsedBytes;
    return line;
}

std::optional<std::string_view> RequestReader::TakeLineBehindHeader()
{
    const std::size_t begin = parsedBytes;
    const auto line =
        TakeLine(RequestParser::maximumHeaderBytes - headerBytes + freeLineBytes, Problems::headerTooLarge);
    headerBytes += std::max(parsedBytes - begin, freeLineBytes) - freeLineBytes;
    return line;
}

RequestReader::Progress RequestReader::MakeSpace() noexcept
{
    if (problem != nullptr)
    {
        return Progress::Failed;
    }
    if (bodyOffset != 0)
    {
        MoveUnparsedTo(bodyOffset);
    }
    assert(readBytes < bufferBytes);
    return Progress::NeedsMore;
}

RequestReader::Progress RequestReader::Fail(const Problem& cause) noexcept
{
    problem = &cause;
    return Progress::Failed;
}

void RequestReader::BeginRequest()
{
    MoveUnparsedTo(0);
    WipeBody();
    body.clear();
    Shrink(body);
    parser = RequestParser();
    state = State::BeforeRequest;
    bodyOffset = 0;
}

void RequestReader::DropAll() noexcept
{
    parsedBytes = 0;
    readBytes = 0;
    WipeBody();
}

void RequestReader::MoveUnparsedTo(std::size_t offset) noexcept
{
    const std::size_t count = readBytes - parsedBytes;
    std::memmove(buffer.data() + offset, buffer.data() + parsedBytes, count);
    parsedBytes = offset;
    readBytes = offset + count;
}

void RequestReader::WipeBody() noexcept
{
    if (!body.empty())
    {
        explicit_bzero(body.data(), body.size());
        explicit_bzero(buffer.data() + readBytes, bufferBytes - readBytes);
    }
}

} // namespace Oxa::Host::Http
