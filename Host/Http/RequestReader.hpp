#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace Oxa::Host::Http
{

/// Whether the request, of which the header has come, belongs to a session.
using SessionCheck = std::function<bool(const HttpRequest&)>;

/// Finds the requests in the bytes of a connection, in a buffer of its own, however the bytes are split. Knows no
/// socket: the connection reads into `GetSpace`, reports the count with `Add`, and calls `Parse`. Threads: one at a
/// time. Where the standard leaves a choice, ambiguous requests are refused. Wipes every request when the next one
/// begins: header fields hold session keys, and bodies passwords.
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

    /// Limits and check are borrowed. `hasSession` is called at most once per request, and only when the body is longer
    /// than requests without a session may have. `isSecure`: the connection is encrypted (TLS).
    RequestReader(const Configuration::RequestLimits& limits, const SessionCheck& hasSession, bool isSecure = false);
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;
    ~RequestReader();

    /// For the next bytes; never empty after `NeedsMore`. Allocates the buffer if it was given back.
    [[nodiscard]] std::span<char> GetSpace();

    /// Gives the buffer back when it holds nothing, as between two requests.
    void ReleaseEmptyBuffer() noexcept
    {
        if (readBytes == 0)
        {
            buffer.reset();
        }
    }

    /// The current request's client uses encryption, if only as far as a proxy.
    void MarkSecure() noexcept
    {
        header.isSecure = true;
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
        return header;
    }

    /// Whether the first bytes of the current request's body, or bytes behind the complete request, have come.
    [[nodiscard]] bool HasMore() const noexcept
    {
        return parsedBytes < readBytes || (state != State::Complete && !body.empty());
    }

    /// Whether all of the current request has come.
    [[nodiscard]] bool IsComplete() const noexcept
    {
        return state == State::Complete;
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

    /// Only the bytes that were used are wiped, by this class: wiping the whole buffer would make all of it resident.
    struct Free final
    {
        void operator()(char* memory) const noexcept;
    };

    /// What the lines of the header say, as views into the buffer. A field that was not sent has no data.
    struct Header final : HttpRequest
    {
        std::string_view contentLength;
        std::string_view transferEncoding;
        std::string_view expectation;
        /// Of an absolute target.
        std::string_view authority;
        std::size_t fieldCount = 0;
        bool hasClose = false;
        bool hasKeepAlive = false;
    };

    [[nodiscard]] bool TryBegin() noexcept;
    [[nodiscard]] bool TryTakeBody();
    [[nodiscard]] std::optional<std::string_view> TakeLine() noexcept;

    // These return null when there is no problem.

    [[nodiscard]] const Problem* ParseLine(std::string_view line);
    [[nodiscard]] const Problem* ParseRequestLine(std::string_view line) noexcept;
    [[nodiscard]] const Problem* ParseField(std::string_view line) noexcept;
    [[nodiscard]] const Problem* CheckField(std::string_view line) noexcept;
    [[nodiscard]] const Problem* EndHeader();
    [[nodiscard]] const Problem* BeginChunk(std::string_view line);

    [[nodiscard]] bool TrySetVersion(std::string_view version) noexcept;
    [[nodiscard]] bool TrySetTarget(std::string_view method, std::string_view target) noexcept;
    [[nodiscard]] bool TrySetFraming() noexcept;
    [[nodiscard]] bool CanHold(std::size_t bodyBytes);
    [[nodiscard]] std::string_view* FindKnownField(std::string_view name) noexcept;
    void AddConnectionOptions(std::string_view options) noexcept;
    void MoveUnparsedTo(std::size_t offset) noexcept;
    void WipeBody() noexcept;

    [[nodiscard]] std::string_view GetUnparsed() const noexcept
    {
        return {buffer.get() + parsedBytes, readBytes - parsedBytes};
    }

    const Configuration::RequestLimits& limits;
    const SessionCheck& hasSession;
    const bool isSecure;
    Header header;
    State state = State::BeforeRequest;
    const Problem* problem = nullptr;
    BasicString body;
    /// Of the current request; grows to that of requests with a session when it has one.
    std::size_t maximumBodyBytes;
    std::size_t parsedBytes = 0;
    std::size_t readBytes = 0;
    /// Where bytes behind the header go.
    std::size_t bodyOffset = 0;
    /// What counts as header so far.
    std::size_t headerBytes = 0;
    /// Of the body or the current chunk.
    std::size_t remainingBytes = 0;
    /// Space for the largest header, and behind it for pieces of a body.
    const std::size_t bufferBytes;
    std::unique_ptr<char[], Free> buffer;
};

} // namespace Oxa::Host::Http
