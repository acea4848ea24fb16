#include "Host/Http/RequestReader.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

// Header fields, chunk sizes and trailers are parsed line by line, each when it is complete. What is too long is known
// from the first byte that does not fit, so nothing depends on the pieces in which the bytes come. The header stays at
// the buffer's beginning until the response has been sent; what comes behind it is copied into the body, and its space
// is used again.

namespace Oxa::Host::Http
{

namespace
{

/// Of a line behind the header this much is free: the digits of a chunk's size and the line's end. The rest, chunk
/// extensions and trailers, counts as header.
constexpr std::size_t freeLineBytes = 18;
constexpr std::string_view lineEnd = "\r\n";

} // namespace

RequestReader::~RequestReader()
{
    DropAll();
}

RequestReader::Progress RequestReader::Parse()
{
    bool needsMore = false;
    while (!needsMore && problem == nullptr)
    {
        switch (state)
        {
        case State::BeforeRequest:
            needsMore = !TryBegin();
            break;
        case State::Body:
        case State::ChunkData:
            needsMore = !TryTakeBody();
            break;
        case State::Complete:
            parser.SetBody(body);
            return Progress::Complete;
        default:
            const auto line = TakeLine();
            needsMore = !line;
            problem = line ? ParseLine(*line) : problem;
        }
    }
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

RequestReader::Part RequestReader::GetPart() const noexcept
{
    if (state == State::BeforeRequest)
    {
        return Part::None;
    }
    return state <= State::Fields ? Part::Header : Part::Body;
}

/// False: the first byte of a request has not come. Some clients send an empty line behind a body.
bool RequestReader::TryBegin() noexcept
{
    while (GetUnparsed().starts_with(lineEnd))
    {
        parsedBytes += lineEnd.size();
    }
    MoveUnparsedTo(0);
    if (lineEnd.starts_with(GetUnparsed()))
    {
        return false;
    }
    state = State::RequestLine;
    // At once: a client that speaks another protocol, such as TLS, may never end a line.
    problem = RequestParser::IsMethodCharacter(buffer.front()) ? nullptr : &Problems::malformedRequest;
    return true;
}

/// The next line without its end; empty: it is not complete yet, or there is a problem. A line ends with CR LF, and
/// control characters in it are left to its parser.
std::optional<std::string_view> RequestReader::TakeLine() noexcept
{
    const bool isHeader = state <= State::Fields;
    const std::size_t freeBytes = isHeader ? 0 : freeLineBytes;
    const std::size_t maximumBytes =
        state == State::ChunkEnd ? lineEnd.size() : RequestParser::maximumHeaderBytes - headerBytes + freeBytes;
    const std::string_view unparsed = GetUnparsed().substr(0, maximumBytes);
    const std::size_t end = unparsed.find('\n');
    if (end == std::string_view::npos)
    {
        const Problem& tooLong = state == State::RequestLine ? Problems::targetTooLong
                                 : state == State::ChunkEnd  ? Problems::malformedRequest
                                                             : Problems::headerTooLarge;
        problem = unparsed.size() == maximumBytes ? &tooLong : nullptr;
        return std::nullopt;
    }
    if (end == 0 || unparsed[end - 1] != '\r')
    {
        problem = &Problems::malformedRequest;
        return std::nullopt;
    }
    parsedBytes += end + 1;
    headerBytes += std::max(end + 1, freeBytes) - freeBytes;
    return unparsed.substr(0, end - 1);
}

const Problem* RequestReader::ParseLine(std::string_view line)
{
    switch (state)
    {
    case State::RequestLine:
        state = State::Fields;
        return parser.ParseRequestLine(line);
    case State::Fields:
        return line.empty() ? EndHeader() : parser.ParseField(line);
    case State::ChunkSize:
        return BeginChunk(line);
    case State::ChunkEnd:
        state = State::ChunkSize;
        return nullptr;
    default:
        if (!line.empty())
        {
            return parser.ParseTrailer(line);
        }
        state = State::Complete;
        return nullptr;
    }
}

const Problem* RequestReader::EndHeader()
{
    if (const Problem* const cause = parser.EndHeader())
    {
        return cause;
    }
    bodyOffset = parsedBytes;
    remainingBytes = parser.GetBodyBytes();
    // All at once: a reallocation would leave a copy behind that is not wiped.
    body.reserve(parser.IsChunked() ? RequestParser::maximumBodyBytes : remainingBytes);
    state = parser.IsChunked() ? State::ChunkSize : remainingBytes == 0 ? State::Complete : State::Body;
    return nullptr;
}

const Problem* RequestReader::BeginChunk(std::string_view line) noexcept
{
    const auto size = RequestParser::ParseChunkSize(line);
    if (!size)
    {
        return &Problems::malformedRequest;
    }
    if (*size > RequestParser::maximumBodyBytes - body.size())
    {
        return &Problems::bodyTooLarge;
    }
    remainingBytes = static_cast<std::size_t>(*size);
    state = *size == 0 ? State::Trailers : State::ChunkData;
    return nullptr;
}

/// False: the body or chunk is not complete.
bool RequestReader::TryTakeBody()
{
    const std::string_view piece = GetUnparsed().substr(0, remainingBytes);
    body += piece;
    parsedBytes += piece.size();
    remainingBytes -= piece.size();
    if (remainingBytes != 0)
    {
        return false;
    }
    state = state == State::Body ? State::Complete : State::ChunkEnd;
    return true;
}

void RequestReader::BeginRequest()
{
    MoveUnparsedTo(0);
    WipeBody();
    BasicString().swap(body);
    parser = RequestParser();
    state = State::BeforeRequest;
    bodyOffset = 0;
    headerBytes = 0;
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
