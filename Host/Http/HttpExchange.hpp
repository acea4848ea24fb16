#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <memory>
#include <string_view>

namespace Oxa::Host::Http
{

enum class HttpMethod : uint8
{
    Get,
    Head,
    Post,
    Patch,
    Delete,
    Other
};

/// Whether the method only reads.
[[nodiscard]] constexpr bool IsRead(HttpMethod method) noexcept
{
    return method == HttpMethod::Get || method == HttpMethod::Head;
}

/// One request as it came: every text is untrusted. The views are valid until the response has been sent.
struct HttpRequest
{
    HttpMethod method = HttpMethod::Other;
    /// The target without query, percent-encoding as it came; "*" for OPTIONS of the server as a whole.
    std::string_view path = {};
    /// What follows the "?", without it.
    std::string_view query = {};
    /// Of an absolute target its authority, else the header field.
    std::string_view host = {};
    std::string_view authorization = {};
    std::string_view cookie = {};
    std::string_view contentType = {};
    std::string_view origin = {};
    std::string_view fetchSite = {};
    /// Accept-Encoding.
    std::string_view acceptedCodings = {};
    /// If-None-Match.
    std::string_view knownTags = {};
    std::string_view userAgent = {};
    /// Oxa-Activity: "background" for a request that the user did not cause.
    std::string_view activity = {};
    std::string_view body = {};
    /// Whether the client's connection is encrypted (TLS), by this host or a proxy.
    bool isSecure = false;
    bool isHttp10 = false;
    /// Whether the client wants to send further requests on the connection.
    bool keepsConnection = true;
    /// Whether the client waits for 100 (Continue) before it sends the body.
    bool expectsContinue = false;
};

inline constexpr std::string_view jsonMediaType = "application/json; charset=utf-8";

/// Header fields that tell browsers what they may do with a response. Each text is complete, so that a response costs
/// one copy.
namespace BrowserPolicies
{

/// For data: browsers must not store, frame, sniff or run it.
inline constexpr std::string_view data =
    "Cache-Control: no-store\r\n"
    "Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Permissions-Policy: camera=(), display-capture=(), geolocation=(), microphone=(), payment=(), usb=()\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "X-Content-Type-Options: nosniff\r\n";

/// For a page: nothing but files and data of this server. Without Cache-Control, which is the file's own.
inline constexpr std::string_view page =
    "Content-Security-Policy: default-src 'none'; base-uri 'none'; connect-src 'self'; font-src 'self'; "
    "form-action 'self'; frame-ancestors 'none'; img-src 'self'; manifest-src 'self'; script-src 'self'; "
    "style-src 'self'\r\n"
    "Cross-Origin-Opener-Policy: same-origin\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Permissions-Policy: camera=(), display-capture=(), geolocation=(), microphone=(), payment=(), usb=()\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "X-Content-Type-Options: nosniff\r\n";

/// For what a page loads, which needs no rights of its own: a visit asks for a dozen of such files, with these fields
/// each.
inline constexpr std::string_view pagePart = "Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n"
                                             "Cross-Origin-Resource-Policy: same-origin\r\n"
                                             "Referrer-Policy: no-referrer\r\n"
                                             "X-Content-Type-Options: nosniff\r\n";

} // namespace BrowserPolicies

/// A response without the header fields that every response carries.
struct HttpResponse
{
    unsigned status = 200;
    /// Empty: the response has no body.
    std::string_view mediaType = {};
    std::string_view body = {};
    /// Further header fields, each ended by CR LF.
    std::string_view fields = {};
    std::string_view browserPolicy = BrowserPolicies::data;
};

/// One request and its response. One thread at a time; a handler that defers the response hands the exchange from
/// thread to thread.
class IHttpExchange
{
public:
    virtual ~IHttpExchange();

    [[nodiscard]] virtual const HttpRequest& GetRequest() const noexcept = 0;

    /// Whether the client's connection is encrypted (TLS), by this host or a proxy.
    [[nodiscard]] bool IsSecure() const noexcept
    {
        return GetRequest().isSecure;
    }

    /// The IP address that the request came from, perhaps a proxy's; also when the client has disconnected.
    [[nodiscard]] virtual BasicString GetClientAddress() const = 0;

    /// Whether the client still waits for the response: false when it has closed the connection, or its sending side.
    [[nodiscard]] virtual bool IsConnected() noexcept = 0;

    /// The request belongs to this session; the connection then ends after those without one when others need its
    /// place.
    virtual void SetSession(uint64 sessionId) noexcept = 0;

    /// Identifies who shares the bounds on waiting requests: the request's session, or the client's address.
    [[nodiscard]] virtual uint64 GetClientId() const noexcept = 0;

    /// 16 hexadecimal digits, random, made by the first call; the response then carries them in Oxa-Request-Id. Logs
    /// and the audit trail name the request by them. Requires: `Send` was not called. Valid until the response has been
    /// sent.
    [[nodiscard]] virtual std::string_view GetRequestId() = 0;

    /// Once per request. The views in `response` need only be valid during the call.
    virtual void Send(const HttpResponse& response) = 0;

    /// After `Send`, when the handler has returned `Deferred`: writes the response to the client. On a thread of the
    /// event loop; the exchange must not be used afterwards.
    virtual void Resume() = 0;
};

/// For implementations of `IHttpExchange`.
[[nodiscard]] BasicString MakeRequestId();

enum class Handling : uint8
{
    /// `Send` was called.
    Completed,
    /// The handler keeps the exchange; `Send` and `Resume` follow, perhaps already on another thread.
    Deferred
};

/// Called on threads of the event loop, for several exchanges at the same time.
using HttpHandler = std::function<Handling(const std::shared_ptr<IHttpExchange>&)>;

} // namespace Oxa::Host::Http
