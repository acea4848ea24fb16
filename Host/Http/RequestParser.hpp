#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <optional>
#include <string_view>

namespace Oxa::Host::Http
{

/// Parses the lines of one request's header (RFC 9112) and keeps what the host needs as views into them: the lines must
/// stay in memory until the response has been sent. Where the standard leaves a choice, ambiguous input is refused.
class RequestParser final
{
public:
    /// Of the request line and the header fields, with their line ends.
    static constexpr std::size_t maximumHeaderBytes = 8192;
    static constexpr std::size_t maximumFields = 64;
    static constexpr std::size_t maximumBodyBytes = 65536;

    // The first, then one for each field, then the last. Lines come without their ends. Null: no problem.

    [[nodiscard]] const Problem* ParseRequestLine(std::string_view line);
    [[nodiscard]] const Problem* ParseField(std::string_view line);
    [[nodiscard]] const Problem* EndHeader();

    /// Checks a field behind a chunked body, which has no effect.
    [[nodiscard]] const Problem* ParseTrailer(std::string_view line);

    /// The size in front of a chunk, the greatest number when it is a greater one; empty: the line is malformed.
    /// Extensions are ignored.
    [[nodiscard]] static std::optional<uint64> ParseChunkSize(std::string_view line) noexcept;

    /// Whether a request line may begin with it.
    [[nodiscard]] static bool IsMethodCharacter(char character) noexcept;

    void SetBody(std::string_view body) noexcept
    {
        header.body = body;
    }

    /// The header is complete after `EndHeader`.
    [[nodiscard]] const HttpRequest& GetRequest() const noexcept
    {
        return header;
    }

    [[nodiscard]] bool IsChunked() const noexcept
    {
        return header.transferEncoding.data() != nullptr;
    }

    /// Of a body that is not chunked; at most `maximumBodyBytes`.
    [[nodiscard]] std::size_t GetBodyBytes() const noexcept
    {
        return bodyBytes;
    }

private:
    /// A field that was not sent has no data.
    struct Header final : HttpRequest
    {
        std::string_view contentLength;
        std::string_view transferEncoding;
        std::string_view expectation;
        /// Of an absolute target.
        std::string_view authority;
    };

    [[nodiscard]] std::string_view* FindKnownField(std::string_view name) noexcept;
    void AddConnectionOptions(std::string_view options) noexcept;
    [[nodiscard]] bool TrySetVersion(std::string_view version) noexcept;
    [[nodiscard]] bool TrySetTarget(std::string_view method, std::string_view target) noexcept;
    [[nodiscard]] bool TrySetFraming() noexcept;

    Header header;
    std::size_t fieldCount = 0;
    std::size_t bodyBytes = 0;
    bool hasClose = false;
    bool hasKeepAlive = false;
};

} // namespace Oxa::Host::Http
