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

/// Finds one request after the other in the bytes of a connection, in a buffer of its own. Knows no socket: whoever
/// has one reads into `GetSpace`, tells how much came by `Add`, and calls `Parse` until it needs more.
/// Owned by a connection. Threads: one at a time. Wipes bodies, which may hold a password.
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

    RequestReader();
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
    void Add(std::size_t count) noexcept;

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
        return *parser;
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
    // Room for the largest header, and behind it for pieces of a body.
    static constexpr std::size_t bufferBytes = 2 * RequestParser::maximumHeaderBytes;

    void SkipEmptyLines() noexcept;
    [[nodiscard]] Progress ParseRequest();
    [[nodiscard]] bool IsHeaderTooLarge() const noexcept;
    [[nodiscard]] Progress MakeSpace();
    [[nodiscard]] Progress Fail(const boost::system::error_code& error);
    void WipeBody() noexcept;

    std::optional<RequestParser> parser;
    BasicString body;
    const Problem* problem = nullptr;
    std::size_t parsedBytes = 0;
    std::size_t readBytes = 0;
    /// Where bytes behind the header go.
    std::size_t bodyOffset = 0;
    bool isHeaderBegun = false;
    std::array<char, bufferBytes> buffer;
};

} // namespace Oxa::Host::Http
