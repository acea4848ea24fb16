#include "Host/Http/Problem.hpp"

#include "Host/Http/AnswerWriter.hpp"
#include "Host/Http/IHttpExchange.hpp"
#include "Host/Http/RequestParser.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/Text.hpp"

namespace Oxa::Host::Http
{

static_assert(RequestParser::maximumHeaderBytes == 8192, "the texts of two problems name the limit");
static_assert(RequestParser::maximumFields == 64, "the text of headerTooLarge names the limit");
static_assert(RequestParser::maximumBodyBytes == 65536, "the text of bodyTooLarge names the limit");

void WriteProblemMembers(System::Commons::Json::JsonWriter& writer, const Problem& problem)
{
    writer.WriteValue("type", "about:blank");
    writer.WriteValue("title", GetReasonPhrase(problem.status));
    writer.WriteValue("status", static_cast<uint32>(problem.status));
    writer.WriteValue("code", problem.code);
    writer.WriteValue("detail", problem.detail);
}

BasicString FormatProblem(const Problem& problem, std::string_view requestId)
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

void SendProblem(IHttpExchange& exchange, const Problem& problem, std::string_view requestId)
{
    HttpAnswer answer{problem.status, problemMediaType, {}};
    if (problem.status == 503)
    {
        answer.fields = retryAfterField;
    }
    else if (problem.status == 401)
    {
        answer.fields = "WWW-Authenticate: Bearer\r\n";
    }
    exchange.Send(answer, FormatProblem(problem, requestId));
}

void SendMethodNotAllowed(IHttpExchange& exchange, std::string_view allowedMethods)
{
    const BasicString fields = System::Commons::Text::Format("Allow: {0}\r\n", allowedMethods);
    exchange.Send({405, problemMediaType, fields}, FormatProblem(Problems::methodNotAllowed));
}

} // namespace Oxa::Host::Http
