#include "Host/Status/BootRoute.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Modules/DeviceIdentity.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

namespace Oxa::Host::Status
{

namespace
{

void Answer(Http::IHttpExchange& exchange)
{
    const BasicString bootId = Modules::ReadBootId();
    if (bootId.empty())
    {
        Http::SendProblem(exchange, Http::Problems::serviceNotAvailable);
        return;
    }
    System::Commons::Json::JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("bootId", bootId);
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, {}}, writer.GetText());
}

} // namespace

BootRoute::BootRoute(Http::RequestStrand& strand) : strand(strand) {}

Http::Handling BootRoute::Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const
{
    return strand.Run(exchange, [](Http::IHttpExchange& each) { Answer(each); });
}

} // namespace Oxa::Host::Status
