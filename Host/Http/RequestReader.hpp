#pragma once

#include "Host/Http/Problem.hpp"
#include "Host/Http/RequestParser.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace Oxa::Host::Http
{

/// Finds one request after the other in the bytes of a connection, in a buffer of its own, whatever the pieces in which
/// they come. Knows no socket: its user reads into `GetSpace`, tells how much came by `Add`, and calls `Parse` until it
/// needs more. Owned by a connection. Threads: one at a time. Wipes bodies, which may hold a password.
class RequestReader final
{
public:
    /// How far `Parse` has come. After `HeaderBegins` and `HeaderEnds` it is to be called again.
    enum class Progress : uint8
    {
        NeedsMore,
        /// The first byte of a request is there.
        HeaderBegins,
        /// The header is complete, and a body follows.
        HeaderEnds,
        /// The request is complete.
        RequestEnds,
        /// It is not known where the next request begins: the connection has to end.
        Failed
    };

    RequestReader() = default;
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;
    ~RequestReader();

    /// Where the next bytes go; never empty after `NeedsMore`.
    [[nodiscard]] char* GetSpace() noexcept
    {
        return buffer.data() + readBytes;
    }

    [[nodiscard]] std::size_t GetSpaceBytes() const noexcept
    {
        return bufferBytes - readBytes;
    }

    /// So many bytes were put there.
    void Add(std::size_t count) noexcept
    {
        readBytes += count;
    }

    /// Requires: neither a complete request nor `DropAll` came before it.
    [[nodiscard]] Progress Parse();

    /// Requires: `Parse` has returned `Failed`.
    [[nodiscard]] const Problem& GetProblem() const noexcept
    {
        return *problem;
    }

    /// The current request: its header is valid after `HeaderEnds`, all of it after `RequestEnds`, until
    /// `BeginRequest` or `DropAll`.
    [[nodiscard]] const RequestParser& GetParser() const noexcept
    {
        return parser;
    }

    /// Whether there are bytes behind what was parsed.
    [[nodiscard]] bool HasMore() const noexcept
    {
        return parsedBytes < readBytes;
    }

    /// Goes on to the next request. What was read beyond the last one is its beginning.
    void BeginRequest();

    /// Forgets every byte. Nothing can be parsed any more.
    void DropAll() noexcept;

private:
    enum class State : uint8
    {
        BeforeRequest,
        RequestLine,
        Fields,
        Body,
        ChunkSize,
        ChunkData,
        ChunkEnd,
        Trailers,
        Complete
    };

    // Room for the largest header, and behind it for pieces of a body.
    static constexpr std::size_t bufferBytes = 2 * RequestParser::maximumHeaderBytes;
    /// Of a line behind the header this much is free: the digits of a chunk's size and the line's end. The rest, chunk
    /// extensions and trailers, counts as header.
    static constexpr std::size_t freeLineBytes = 18;

    // Each takes what it can. Empty: there is more to parse.

    [[nodiscard]] std::optional<Progress> ParseNext();
    [[nodiscard]] std::optional<Progress> ParseBeginning();
    [[nodiscard]] std::optional<Progress> ParseRequestLine();
    [[nodiscard]] std::optional<Progress> ParseField();
    [[nodiscard]] std::optional<Progress> ParseBody(State next);
    [[nodiscard]] std::optional<Progress> ParseChunkSize();
    [[nodiscard]] std::optional<Progress> ParseChunkEnd();
    [[nodiscard]] std::optional<Progress> ParseTrailer();

    [[nodiscard]] std::optional<std::string_view> TakeLine(std::size_t maximumBytes, const Problem& tooLong);
    [[nodiscard]] std::optional<std::string_view> TakeHeaderLine(const Problem& tooLong);
    [[nodiscard]] std::optional<std::string_view> TakeLineBehindHeader();
    [[nodiscard]] Progress EndHeader();
    [[nodiscard]] Progress EndRequest();
    [[nodiscard]] Progress MakeSpace() noexcept;
    [[nodiscard]] Progress Fail(const Problem& cause) noexcept;
    void MoveUnparsedTo(std::size_t offset) noexcept;
    void WipeBody() noexcept;

    [[nodiscard]] std::string_view GetUnparsed() const noexcept
    {
        return {buffer.data() + parsedBytes, readBytes - parsedBytes};
    }

    RequestParser parser;
    State state = State::BeforeRequest;
    const Problem* problem = nullptr;
    BasicString body;
    std::size_t parsedBytes = 0;
    std::size_t readBytes = 0;
    /// Where bytes behind the header go.
    std::size_t bodyOffset = 0;
    /// What counts as header so far.
    std::size_t headerBytes = 0;
    /// Of the body or the current chunk.
    std::size_t remainingBytes = 0;
    std::array<char, bufferBytes> buffer;
};

} // namespace Oxa::Host::Http
