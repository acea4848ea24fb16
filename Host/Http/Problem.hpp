#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <string_view>

namespace Oxa::System::Commons::Json
{
class JsonWriter;
}

namespace Oxa::Host::Http
{

/// An error of the host, for people and programs (RFC 9457). Codes are part of the interface: they never change.
struct Problem
{
    unsigned status = 500;
    std::string_view code;
    /// One sentence, without internal details.
    std::string_view detail;
};

namespace Problems
{

inline constexpr Problem invalidFilter{
    400, "invalid-filter", "A time is not like 2026-11-22 or 2026-11-22T10:30:00Z, or a number is out of range."};
inline constexpr Problem malformedRequest{400, "malformed-request", "The request is not well-formed HTTP."};
inline constexpr Problem invalidCredentials{
    400, "invalid-log-in",
    "The body must be a JSON object with the strings \"user\" (1 to 64 bytes) and "
    "\"password\" (1 to 1024 bytes)."};
inline constexpr Problem invalidBody{400, "invalid-body", "The body is not the expected JSON object."};
inline constexpr Problem invalidName{400, "invalid-name", "The name is not allowed."};
inline constexpr Problem passwordRefused{400, "password-refused", "The new password is not allowed."};
inline constexpr Problem repeatedParameter{400, "repeated-parameter",
                                           "The query has the same parameter more often than allowed."};
inline constexpr Problem noSession{401, "no-session",
                                   "Log in first: the request has no session, or the session has ended."};
inline constexpr Problem logInFailed{401, "log-in-failed", "User name or password is wrong."};
inline constexpr Problem noPermission{403, "no-permission",
                                      "The user has no permission to send requests to this data provider."};
inline constexpr Problem passwordChangeNeeded{403, "password-change-needed",
                                              "Change the password first: POST it to /api/v1/session/password."};
inline constexpr Problem wrongPassword{403, "wrong-password", "The password is wrong."};
inline constexpr Problem ownPassword{403, "own-password",
                                     "Change your own password with POST /api/v1/session/password."};
inline constexpr Problem notForApiTokens{403, "not-for-api-tokens",
                                         "An API token has neither a session nor a password."};
inline constexpr Problem confirmationNeeded{
    403, "confirmation-needed",
    "This command needs the password again: send it to /api/v1/session/confirm within 60 seconds before."};
inline constexpr Problem crossOrigin{403, "foreign-origin", "Cross-origin requests are refused."};
inline constexpr Problem tlsRequired{403, "tls-required", "Use https: this port redirects reading requests only."};
inline constexpr Problem unknownPath{404, "unknown-path", "This path does not exist."};
inline constexpr Problem unknownDataProvider{404, "unknown-data-provider", "There is no data provider of this name."};
inline constexpr Problem unknownRequest{404, "unknown-request", "The data provider has no request of this name."};
inline constexpr Problem unknownSession{404, "unknown-session", "There is no session of this id."};
inline constexpr Problem unknownUser{404, "unknown-user", "There is no user of this name."};
inline constexpr Problem unknownApiToken{404, "unknown-token", "There is no API token of this name."};
inline constexpr Problem methodNotAllowed{
    405, "method-not-allowed", "The method is not allowed here; the header field Allow names those that are."};
inline constexpr Problem userExists{409, "user-exists", "There is a user of this name."};
inline constexpr Problem apiTokenExists{409, "token-exists", "There is an API token of this name."};
inline constexpr Problem lastAdministrator{409, "last-admin", "No active user with the role Admin would be left."};
inline constexpr Problem bodyTooLarge{413, "body-too-large",
                                      "The body is longer than allowed; the limit is lower without a session."};
inline constexpr Problem targetTooLong{414, "target-too-long", "The request line is longer than allowed."};
inline constexpr Problem notJson{415, "not-json", "The body must be of the type application/json."};
inline constexpr Problem unknownExpectation{417, "unknown-expectation",
                                            "The only supported expectation is 100-continue."};
inline constexpr Problem misdirectedRequest{421, "misdirected-request",
                                            "This host does not have the name or address that the field Host says."};
inline constexpr Problem tooManyLogIns{
    429, "too-many-log-ins", "Too many wrong passwords were tried; Retry-After tells when the next may be tried."};
inline constexpr Problem tooManyPasswordChanges{
    429, "too-many-password-changes",
    "The password was changed a moment ago; Retry-After tells when it may be changed again."};
inline constexpr Problem tooManyFailedCommands{
    429, "too-many-failed-commands",
    "Too many commands of this user have failed; Retry-After tells when one more is accepted."};
inline constexpr Problem headerTooLarge{431, "header-too-large", "The header has more bytes or fields than allowed."};
inline constexpr Problem internalError{
    500, "internal-error", "The request could not be carried out. The log has the cause under the request id."};
inline constexpr Problem responseTooLarge{500, "response-too-large",
                                          "The response is larger than this server may send."};
inline constexpr Problem invalidServiceResponse{502, "bad-service-answer",
                                                "The device service returned an invalid response."};
inline constexpr Problem notAvailable{503, "not-available", "The data provider is not available at the moment."};
inline constexpr Problem auditNotWritable{503, "audit-not-writable",
                                          "The audit trail cannot be written, so commands and changes are refused."};
inline constexpr Problem serviceNotAvailable{503, "service-not-available",
                                             "The device service is not available at the moment."};
inline constexpr Problem serviceLost{503, "service-lost",
                                     "The device service was lost before it responded; it may have carried out the "
                                     "request."};
inline constexpr Problem serviceRefused{503, "service-refused",
                                        "The device service does not accept requests of this server at the moment."};
inline constexpr Problem tooManyRequests{503, "too-many-requests", "Too many requests are waiting."};
inline constexpr Problem tooManySessions{503, "too-many-sessions", "Too many users are logged in."};
inline constexpr Problem tooManyConnections{503, "too-many-connections", "Too many connections are open."};
inline constexpr Problem notReady{503, "not-ready", "Some configured parts are not available."};
inline constexpr Problem serviceTimeout{504, "service-timeout",
                                        "The device service did not respond in time; it may still carry out the "
                                        "request."};

} // namespace Problems

inline constexpr std::string_view problemMediaType = "application/problem+json";

/// With a 503: what is missing now may be available in a second.
inline constexpr std::string_view retryAfterField = "Retry-After: 1\r\n";

/// Writes the members that every problem has into the open JSON object.
void WriteProblemMembers(System::Commons::Json::JsonWriter& writer, const Problem& problem);

// These send a response and return `Handling::Completed`, which is then the handler's result as well.

/// Sends the problem with the header fields that belong to its status: Retry-After, WWW-Authenticate.
Handling SendProblem(IHttpExchange& exchange, const Problem& problem, std::string_view requestId = {});

/// The same with another Retry-After.
Handling SendProblem(IHttpExchange& exchange, const Problem& problem, std::chrono::seconds retryAfter);

/// Sends 405 with the header field Allow.
Handling SendMethodNotAllowed(IHttpExchange& exchange, std::string_view allowedMethods);

/// Turns exceptions into responses that tell the client no internal details. Threads: safe from any thread.
class FaultReport final : private System::Commons::Diagnostics::Logging::Loggable<FaultReport>
{
public:
    /// Logs the exception that is being handled under the request's id and sends 500 with that id. `subject` names in
    /// the log whose request failed. Requires: called inside a catch block.
    static Handling Send(IHttpExchange& exchange, std::string_view subject);
};

} // namespace Oxa::Host::Http
