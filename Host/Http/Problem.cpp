#include "Host/Http/Problem.hpp"

#include "Host/Http/ResponseWriter.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <sodium.h>

namespace Oxa::Host::Http
{

namespace
{

BasicString FormatProblem(const Problem& problem, std::string_view requestId = {})
{
    System::Commons::Json::JsonWriter writer;
    writer.WriteStartObject();
    WriteProblemMembers(writer, problem);
    if (!requestId.empty())
    {
        writer.WriteValue("requestId", requestId);
    }
    writer.WriteEndObject();
    return BasicString(writer.GetText());
}

} // namespace

void WriteProblemMembers(System::Commons::Json::JsonWriter& writer, const Problem& problem)
{
    writer.WriteValue("type", "about:blank");
    writer.WriteValue("title", GetReasonPhrase(problem.status));
    writer.WriteValue("status", static_cast<uint32>(problem.status));
    writer.WriteValue("code", problem.code);
    writer.WriteValue("detail", problem.detail);
}

Handling SendProblem(IHttpExchange& exchange, const Problem& problem, std::string_view requestId)
{
    std::string_view fields;
    if (problem.status == 503)
    {
        fields = retryAfterField;
    }
    else if (problem.status == 401)
    {
        fields = "WWW-Authenticate: Bearer\r\n";
    }
    exchange.Send({problem.status, problemMediaType, FormatProblem(problem, requestId), fields});
    return Handling::Completed;
}

Handling SendProblem(IHttpExchange& exchange, const Problem& problem, std::chrono::seconds retryAfter)
{
    exchange.Send({problem.status, problemMediaType, FormatProblem(problem),
                   System::Commons::Text::Format("Retry-After: {0}\r\n", retryAfter.count())});
    return Handling::Completed;
}

Handling SendMethodNotAllowed(IHttpExchange& exchange, std::string_view allowedMethods)
{
    exchange.Send({405, problemMediaType, FormatProblem(Problems::methodNotAllowed),
                   System::Commons::Text::Format("Allow: {0}\r\n", allowedMethods)});
    return Handling::Completed;
}

BasicString MakeRequestId()
{
    // Random: it must not be guessable, and it must find one line in a log.
    return System::Commons::Text::Format("{0:08x}{1:08x}", randombytes_random(), randombytes_random());
}

Handling FaultReport::Send(IHttpExchange& exchange, std::string_view subject)
{
    const BasicString requestId(exchange.GetRequestId());
    FaultReport().Log(System::Commons::Diagnostics::Logging::LogLevel::Error, "request {0} of {1} failed: {2}",
                      requestId, subject, System::Commons::DescribeCurrentException());
    return SendProblem(exchange, Problems::internalError, requestId);
}

} // namespace Oxa::Host::Http
