#pragma once

#include "Host/Http/Problem.hpp"
#include "Host/Http/RequestParser.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace Oxa::Host::Http
{

/// Finds the requests in the bytes of a connection, in a buffer of its own, however the bytes are split. Knows no
/// socket: the connection reads into `GetSpace`, reports the count with `Add`, and calls `Parse`. Threads: one at a
/// time. Wipes bodies, which may hold a password.
class RequestReader final
{
public:
    enum class Progress : uint8
    {
        NeedsMore,
        /// The request is complete.
        Complete,
        /// It is not known where the next request begins: the connection has to end.
        Failed
    };

    /// Which part of a request comes next.
    enum class Part : uint8
    {
        /// Not even the first byte of a request has come.
        None,
        Header,
        Body
    };

    RequestReader() = default;
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;
    ~RequestReader();

    /// For the next bytes; never empty after `NeedsMore`.
    [[nodiscard]] std::span<char> GetSpace() noexcept
    {
        return std::span(buffer).subspan(readBytes);
    }

    /// So many bytes were written to the space.
    void Add(std::size_t count) noexcept
    {
        readBytes += count;
    }

    /// Requires: `DropAll` has not been called.
    [[nodiscard]] Progress Parse();

    [[nodiscard]] Part GetPart() const noexcept;

    /// Requires: `Parse` has returned `Failed`.
    [[nodiscard]] const Problem& GetProblem() const noexcept
    {
        return *problem;
    }

    /// The current request: its header is valid while the body comes, all of it after `Complete`, until `BeginRequest`
    /// or `DropAll`.
    [[nodiscard]] const HttpRequest& GetRequest() const noexcept
    {
        return parser.GetRequest();
    }

    /// Whether the first bytes of the current request's body, or bytes behind the complete request, have come.
    [[nodiscard]] bool HasMore() const noexcept
    {
        return parsedBytes < readBytes || (state != State::Complete && !body.empty());
    }

    /// Goes on to the next request. What was read beyond the last one is its beginning.
    void BeginRequest();

    /// Forgets every byte.
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

    // Space for the largest header, and behind it for pieces of a body.
    static constexpr std::size_t bufferBytes = 2 * RequestParser::maximumHeaderBytes;

    [[nodiscard]] bool TryBegin() noexcept;
    [[nodiscard]] bool TryTakeBody();
    [[nodiscard]] std::optional<std::string_view> TakeLine() noexcept;
    [[nodiscard]] const Problem* ParseLine(std::string_view line);
    [[nodiscard]] const Problem* EndHeader();
    [[nodiscard]] const Problem* BeginChunk(std::string_view line) noexcept;
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
