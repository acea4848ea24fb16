#include "Host/Http/RequestReader.hpp"

#include "Host/Http/HttpSyntax.hpp"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

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

HttpMethod ToMethod(std::string_view name) noexcept
{
    // In the order of the enumeration; behind them comes `Other`.
    static constexpr std::string_view names[] = {"GET", "HEAD", "POST", "PATCH", "DELETE"};
    return static_cast<HttpMethod>(std::ranges::find(names, name) - std::begin(names));
}

} // namespace

RequestReader::RequestReader(const Configuration::RequestLimits& limits, const SessionCheck& hasSession, bool isSecure)
    : limits(limits),
      hasSession(hasSession),
      isSecure(isSecure),
      maximumBodyBytes(limits.maximumBodyBytesWithoutSession),
      bufferBytes(2 * limits.maximumHeaderBytes)
{
    header.isSecure = isSecure;
}

RequestReader::~RequestReader()
{
    DropAll();
}

void RequestReader::Free::operator()(char* memory) const noexcept
{
    std::free(memory); // NOLINT(cppcoreguidelines-no-malloc)
}

std::span<char> RequestReader::GetSpace()
{
    if (!buffer)
    {
        buffer.reset(static_cast<char*>(std::malloc(bufferBytes))); // NOLINT(cppcoreguidelines-no-malloc)
        if (!buffer)
        {
            throw std::bad_alloc();
        }
    }
    return std::span(buffer.get(), bufferBytes).subspan(readBytes);
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
            header.body = body;
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
    problem = IsToken({buffer.get(), 1}) ? nullptr : &Problems::malformedRequest;
    return true;
}

/// The next line without its end; empty: it is not complete yet, or there is a problem. A line ends with CR LF, and
/// control characters in it are left to its parser.
std::optional<std::string_view> RequestReader::TakeLine() noexcept
{
    const bool isHeader = state <= State::Fields;
    const std::size_t freeBytes = isHeader ? 0 : freeLineBytes;
    const std::size_t maximumBytes =
        state == State::ChunkEnd ? lineEnd.size() : limits.maximumHeaderBytes - headerBytes + freeBytes;
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
        return ParseRequestLine(line);
    case State::Fields:
        return line.empty() ? EndHeader() : ParseField(line);
    case State::ChunkSize:
        return BeginChunk(line);
    case State::ChunkEnd:
        state = State::ChunkSize;
        return nullptr;
    default:
        if (!line.empty())
        {
            return CheckField(line);
        }
        state = State::Complete;
        return nullptr;
    }
}

const Problem* RequestReader::ParseRequestLine(std::string_view line) noexcept
{
    const std::string_view method = TakeUntil(line, ' ');
    const std::string_view target = TakeUntil(line, ' ');
    header.method = ToMethod(method);
    const bool isValid = IsToken(method) && TrySetVersion(line) && TrySetTarget(method, target);
    return isValid ? nullptr : &Problems::malformedRequest;
}

/// A client with a later minor version accepts responses of this one.
bool RequestReader::TrySetVersion(std::string_view version) noexcept
{
    constexpr std::string_view major = "HTTP/1.";
    if (version.size() != major.size() + 1 || !version.starts_with(major) || version.back() < '0' ||
        version.back() > '9')
    {
        return false;
    }
    header.isHttp10 = version.back() == '0';
    return true;
}

/// A path with or without a query, also behind "http://…" or "https://…", which proxies write and where the path may be
/// missing; or the server as a whole.
bool RequestReader::TrySetTarget(std::string_view method, std::string_view target) noexcept
{
    const std::string_view scheme = isSecure ? "https://" : "http://";
    if (!IsTarget(target))
    {
        return false;
    }
    if (target == "*" && method == "OPTIONS")
    {
        header.path = target;
        return true;
    }
    if (AreEqual(target.substr(0, scheme.size()), scheme))
    {
        target.remove_prefix(scheme.size());
        const std::string_view authority = target.substr(0, target.find_first_of("/?"));
        target.remove_prefix(authority.size());
        if (authority.empty() || authority.front() == ':' || !IsHostAndPort(authority))
        {
            return false;
        }
        header.authority = authority;
        header.path = "/";
    }
    const std::size_t question = std::min(target.find('?'), target.size());
    if (question > 0)
    {
        header.path = target.substr(0, question);
    }
    header.query = target.substr(std::min(question + 1, target.size()));
    return header.path.starts_with('/');
}

const Problem* RequestReader::ParseField(std::string_view line) noexcept
{
    if (const Problem* const cause = CheckField(line))
    {
        return cause;
    }
    const std::string_view name = TakeUntil(line, ':');
    const std::string_view value = Trim(line);
    if (AreEqual(name, "Connection"))
    {
        AddConnectionOptions(value);
        return nullptr;
    }
    std::string_view* const known = FindKnownField(name);
    if (known == nullptr)
    {
        return nullptr;
    }
    // Two of them could be read differently by a proxy.
    if (known->data() != nullptr)
    {
        return &Problems::malformedRequest;
    }
    *known = value;
    return nullptr;
}

/// Also for trailers, which have no effect. A line that begins with a blank would continue the field before it, which
/// has been abolished: it is not a field either.
const Problem* RequestReader::CheckField(std::string_view line) noexcept
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !IsToken(line.substr(0, colon)) || !IsFieldValue(line.substr(colon + 1)))
    {
        return &Problems::malformedRequest;
    }
    return ++header.fieldCount > limits.maximumHeaderFields ? &Problems::headerTooLarge : nullptr;
}

std::string_view* RequestReader::FindKnownField(std::string_view name) noexcept
{
    static constexpr std::pair<std::string_view, std::string_view Header::*> knownFields[] = {
        {"Host", &Header::host},
        {"Authorization", &Header::authorization},
        {"Cookie", &Header::cookie},
        {"Content-Type", &Header::contentType},
        {"Origin", &Header::origin},
        {"Sec-Fetch-Site", &Header::fetchSite},
        {"Accept-Encoding", &Header::acceptedCodings},
        {"If-None-Match", &Header::knownTags},
        {"User-Agent", &Header::userAgent},
        {"Oxa-Activity", &Header::activity},
        {"Content-Length", &Header::contentLength},
        {"Transfer-Encoding", &Header::transferEncoding},
        {"Expect", &Header::expectation}};
    for (const auto& [known, member] : knownFields)
    {
        if (AreEqual(known, name))
        {
            return &(header.*member);
        }
    }
    return nullptr;
}

void RequestReader::AddConnectionOptions(std::string_view options) noexcept
{
    while (!options.empty())
    {
        const std::string_view option = Trim(TakeUntil(options, ','));
        header.hasClose = header.hasClose || AreEqual(option, "close");
        header.hasKeepAlive = header.hasKeepAlive || AreEqual(option, "keep-alive");
    }
}

const Problem* RequestReader::EndHeader()
{
    const bool hasHost = header.host.data() != nullptr;
    if (!(hasHost ? IsHostAndPort(header.host) : header.isHttp10) || !TrySetFraming())
    {
        return &Problems::malformedRequest;
    }
    // Clients of HTTP/1.0 do not wait.
    header.expectsContinue = !header.isHttp10 && !header.expectation.empty();
    if (header.expectsContinue && !AreEqual(header.expectation, "100-continue"))
    {
        return &Problems::unknownExpectation;
    }
    if (header.authority.data() != nullptr)
    {
        header.host = header.authority;
    }
    header.keepsConnection = !header.hasClose && (!header.isHttp10 || header.hasKeepAlive);
    bodyOffset = parsedBytes;
    return CanHold(remainingBytes) ? nullptr : &Problems::bodyTooLarge;
}

/// The end of the body must not be ambiguous: the body has one length, or one known coding. HTTP/1.0 has no codings.
bool RequestReader::TrySetFraming() noexcept
{
    std::string_view length = header.contentLength;
    const bool hasLength = length.data() != nullptr;
    if (header.transferEncoding.data() != nullptr)
    {
        state = State::ChunkSize;
        return !header.isHttp10 && !hasLength && AreEqual(header.transferEncoding, "chunked");
    }
    const auto bytes = hasLength ? TakeNumber(length) : 0;
    remainingBytes = static_cast<std::size_t>(std::min<uint64>(bytes.value_or(0), limits.maximumBodyBytes + 1));
    state = remainingBytes == 0 ? State::Complete : State::Body;
    return bytes && length.empty();
}

/// Whether the body may have so many bytes; then there is space for them.
bool RequestReader::CanHold(std::size_t bodyBytes)
{
    if (bodyBytes > maximumBodyBytes && bodyBytes <= limits.maximumBodyBytes && hasSession(header))
    {
        maximumBodyBytes = limits.maximumBodyBytes;
    }
    if (bodyBytes > maximumBodyBytes)
    {
        return false;
    }
    if (bodyBytes > body.capacity())
    {
        // Not left to the text, which would leave a copy behind that is not wiped.
        BasicString larger;
        larger.reserve(state == State::Body ? bodyBytes : maximumBodyBytes);
        larger = body;
        explicit_bzero(body.data(), body.size());
        body.swap(larger);
    }
    return true;
}

/// Extensions are ignored.
const Problem* RequestReader::BeginChunk(std::string_view line)
{
    const auto size = TakeNumber(line, 16);
    if (!size || !IsFieldValue(line) || !(line.empty() || Trim(line).starts_with(';')))
    {
        return &Problems::malformedRequest;
    }
    if (*size > limits.maximumBodyBytes || !CanHold(body.size() + static_cast<std::size_t>(*size)))
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
    maximumBodyBytes = limits.maximumBodyBytesWithoutSession;
    header = Header();
    header.isSecure = isSecure;
    state = State::BeforeRequest;
    bodyOffset = 0;
    headerBytes = 0;
}

void RequestReader::DropAll() noexcept
{
    parsedBytes = readBytes;
    MoveUnparsedTo(0);
    WipeBody();
}

void RequestReader::MoveUnparsedTo(std::size_t offset) noexcept
{
    const std::size_t count = readBytes - parsedBytes;
    const std::size_t end = offset + count;
    if (count > 0)
    {
        std::memmove(buffer.get() + offset, buffer.get() + parsedBytes, count);
    }
    if (end < readBytes)
    {
        explicit_bzero(buffer.get() + end, readBytes - end);
    }
    parsedBytes = offset;
    readBytes = end;
}

void RequestReader::WipeBody() noexcept
{
    explicit_bzero(body.data(), body.size());
    BasicString().swap(body);
}

} // namespace Oxa::Host::Http
