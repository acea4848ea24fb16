#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::System::Commons::Json
{
class JsonWriter;
}

namespace Oxa::Host::Http
{

class IHttpExchange;

/// An error of the host, for people and programs (RFC 9457). Codes are part of the interface: they never change.
struct Problem
{
    unsigned status = 500;
    std::string_view code;
    /// One sentence, without anything from inside.
    std::string_view detail;
};

namespace Problems
{

inline constexpr Problem malformedRequest{400, "malformed-request", "The request is no well-formed HTTP request."};
inline constexpr Problem invalidCredentials{
    400, "invalid-log-in",
    "The body must be a JSON object with the texts \"user\" (1 to 64 bytes) and "
    "\"password\" (1 to 1024 bytes)."};
inline constexpr Problem noSession{401, "no-session",
                                   "Log in first: the request has no session, or the session has ended."};
inline constexpr Problem logInFailed{401, "log-in-failed", "User name or password is wrong."};
inline constexpr Problem noPermission{403, "no-permission",
                                      "The user has no permission to send requests to this data provider."};
inline constexpr Problem foreignOrigin{403, "foreign-origin", "Requests of other sites are refused."};
inline constexpr Problem unknownPath{404, "unknown-path", "There is nothing under this path."};
inline constexpr Problem unknownDataProvider{404, "unknown-data-provider", "There is no data provider of this name."};
inline constexpr Problem unknownRequest{404, "unknown-request", "The data provider has no request of this name."};
inline constexpr Problem methodNotAllowed{
    405, "method-not-allowed", "The method is not allowed here; the header field Allow names those that are."};
inline constexpr Problem bodyTooLarge{413, "body-too-large", "The body has more than 65536 bytes."};
inline constexpr Problem targetTooLong{414, "target-too-long", "The request line has more than 8192 bytes."};
inline constexpr Problem notJson{415, "not-json", "The body must be of the type application/json."};
inline constexpr Problem unknownExpectation{417, "unknown-expectation",
                                            "The only expectation that can be met is 100-continue."};
inline constexpr Problem headerTooLarge{431, "header-too-large", "The header has more than 8192 bytes or 64 fields."};
inline constexpr Problem internalError{
    500, "internal-error", "The request could not be carried out. The log tells more under the request id."};
inline constexpr Problem invalidServiceResponse{502, "bad-service-answer",
                                                "A service of the device gave an answer that makes no sense."};
inline constexpr Problem notAvailable{503, "not-available", "The data provider is not available at the moment."};
inline constexpr Problem serviceNotAvailable{503, "service-not-available",
                                             "A service of the device is not available at the moment."};
inline constexpr Problem serviceLost{503, "service-lost",
                                     "A service of the device went away before it answered; it may have carried the "
                                     "request out."};
inline constexpr Problem serviceRefused{503, "service-refused",
                                        "A service of the device does not take requests of this server now."};
inline constexpr Problem tooManyRequests{503, "too-many-requests", "Too many requests are waiting."};
inline constexpr Problem tooManyConnections{503, "too-many-connections", "Too many connections are open."};
inline constexpr Problem notReady{503, "not-ready", "Not everything that is configured is up."};
inline constexpr Problem serviceTimeout{504, "service-timeout",
                                        "A service of the device did not answer in time; it may still carry the "
                                        "request out."};

} // namespace Problems

inline constexpr std::string_view problemMediaType = "application/problem+json";

/// The members that every problem has, into the object that is open.
void WriteProblemMembers(System::Commons::Json::JsonWriter& writer, const Problem& problem);

/// The media type's JSON text; `requestId` may be empty.
[[nodiscard]] BasicString FormatProblem(const Problem& problem, std::string_view requestId = {});

/// Answers with the problem and with the header fields that belong to its status: Retry-After, WWW-Authenticate.
void SendProblem(IHttpExchange& exchange, const Problem& problem, std::string_view requestId = {});

/// 405 with the header field Allow.
void SendMethodNotAllowed(IHttpExchange& exchange, std::string_view allowedMethods);

} // namespace Oxa::Host::Http
