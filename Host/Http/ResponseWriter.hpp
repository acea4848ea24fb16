#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>

namespace Oxa::Host::Http
{

/// The standard's short text; empty for a status that the host does not use.
[[nodiscard]] std::string_view GetReasonPhrase(unsigned status) noexcept;

/// Formats one connection's responses, each into the same buffer, which is wiped: a response may hold a session key.
/// Threads: one at a time.
class ResponseWriter final
{
public:
    /// `isSecurelyNamed`: whether the connection is encrypted with a certificate that was issued for the host. Browsers
    /// then never use plain HTTP for its name again, nor accept a certificate that they cannot verify, so a certificate
    /// that the host made itself does not count: its replacement would lock the host's users out.
    explicit ResponseWriter(bool isSecurelyNamed) : fixedFields(isSecurelyNamed ? strictTransportField : "") {}

    ResponseWriter(const ResponseWriter&) = delete;
    ResponseWriter& operator=(const ResponseWriter&) = delete;
    ~ResponseWriter();

    /// Writes the whole response, header and body. The form depends on the request: HEAD has no body.
    /// `requestId`: for the header field Oxa-Request-Id; empty: without it.
    void Write(const HttpResponse& response, const HttpRequest& request, bool keepsConnection,
               std::string_view requestId = {});

    /// The bytes for the client. Valid until the next `Write` or `Clear`.
    [[nodiscard]] std::string_view GetText() const noexcept
    {
        return text;
    }

    /// Releases the buffer when a response made it large.
    void Clear() noexcept;

private:
    static constexpr std::string_view strictTransportField =
        "Strict-Transport-Security: max-age=31536000; includeSubDomains\r\n";

    [[nodiscard]] std::string_view GetDateField();

    const std::string_view fixedFields;
    BasicString text;
    /// The field Date, formatted once a second.
    std::time_t dateSecond = 0;
    std::size_t dateLength = 0;
    std::array<char, 40> date;
};

} // namespace Oxa::Host::Http
