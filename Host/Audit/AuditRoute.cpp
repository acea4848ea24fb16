#include "Host/Audit/AuditRoute.hpp"

#include "Host/Audit/AuditStore.hpp"
#include "Host/Audit/UtcTime.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/Services/Commons/Wbm/RequestQuery.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <charconv>
#include <optional>
#include <utility>

namespace Oxa::Host::Audit
{

using Http::Handling;
using Http::IHttpExchange;
using Services::Commons::Wbm::RequestQuery;
using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonTokenType;
using System::Commons::Json::JsonWriter;

namespace
{

/// A whole number of at least 1.
std::optional<int64> ParseNumber(std::string_view text)
{
    int64 number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && number >= 1 ? std::optional(number) : std::nullopt;
}

/// False: the query has the parameter, but not such a value. Without it `value` stays as it is.
template <class Value, class Parse>
bool TryRead(const RequestQuery& query, const char* name, Value& value, const Parse& parse)
{
    BasicString text;
    if (!query.TryGetParameterValue(name, text, false))
    {
        return true;
    }
    const auto parsed = parse(text);
    value = static_cast<Value>(parsed.value_or(0));
    return parsed.has_value();
}

/// Empty: a parameter has no possible value.
std::optional<AuditFilter> ReadFilter(std::string_view queryText)
{
    const RequestQuery query{BasicString(queryText)};
    AuditFilter filter;
    query.TryGetParameterValue("user", filter.user, false);
    const bool hasAction = query.TryGetParameterValue("action", filter.action, false);
    const bool isValid =
        (!hasAction || System::Nm::IsNotificationKindName(filter.action)) &&
        TryRead(query, "from", filter.from, &ParseUtcTime) && TryRead(query, "to", filter.to, &ParseUtcTime) &&
        TryRead(query, "before", filter.before, &ParseNumber) && TryRead(query, "limit", filter.limit, &ParseNumber);
    return isValid && filter.limit <= AuditRoute::maximumLimit ? std::optional(std::move(filter)) : std::nullopt;
}

void WriteDetails(JsonWriter& writer, std::string_view details)
{
    writer.WriteStartObject("details");
    try
    {
        JsonReader reader(details);
        (void)reader.Read();
        while (reader.Read() == JsonTokenType::PropertyName)
        {
            const BasicString name(reader.GetText());
            (void)reader.Read();
            writer.WriteValue(name, reader.GetText());
        }
    }
    catch (const System::Commons::Json::JsonException&)
    {
        // Only a row that was tampered with has no JSON here.
    }
    writer.WriteEndObject();
}

void WriteRow(JsonWriter& writer, const AuditRow& row)
{
    writer.TryWriteStartComplexArrayItem();
    writer.WriteValue("sequence", row.sequence);
    writer.WriteValue("time", DateTime::FromUnixTimeMicroseconds(row.microseconds).ToIso8601String());
    writer.WriteValue("user", row.user);
    writer.WriteValue("address", row.address);
    writer.WriteValue("action", row.action);
    writer.WriteValue("object", row.object);
    writer.WriteValue("outcome", row.outcome);
    writer.WriteValue("bootId", row.bootId);
    writer.WriteValue("requestId", row.requestId);
    WriteDetails(writer, row.details);
    writer.WriteEndComplexArrayItem();
}

} // namespace

AuditRoute::AuditRoute(const Configuration::AuditConfiguration& configuration,
                       std::shared_ptr<Http::RequestStrand> strand)
    : path(configuration.databasePath), strand(std::move(strand))
{
}

Handling AuditRoute::List(const std::shared_ptr<IHttpExchange>& exchange) const
{
    const auto filter = ReadFilter(exchange->GetRequest().query);
    if (!filter)
    {
        return SendProblem(*exchange, Http::Problems::invalidFilter);
    }
    return strand->Run(exchange, [this, filter = *filter](IHttpExchange& each) { SendRows(each, filter); });
}

void AuditRoute::SendRows(IHttpExchange& exchange, const AuditFilter& filter) const
{
    // A connection of its own: the one for writing may be in use, and this one keeps no memory.
    const auto rows = AuditStore(path).List(filter);
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("rows");
    for (const AuditRow& row : rows)
    {
        WriteRow(writer, row);
    }
    writer.TryWriteEndComplexArray();
    if (rows.size() == filter.limit)
    {
        writer.WriteValue("before", rows.back().sequence);
    }
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
}

} // namespace Oxa::Host::Audit
