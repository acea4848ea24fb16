#include "Host/Status/BootRoute.hpp"

#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace Oxa::Host::Status
{

using Device::Interface::Services::DeviceStatusServiceProxyFactory;
using System::Rsc::ServiceManager;

void AnswerBootId(Http::IHttpExchange& exchange)
{
    const char* const providerName = DeviceStatusServiceProxyFactory::GetInstance().GetServiceProviderName();
    const BasicString bootId = ServiceManager::GetRun(providerName).bootId;
    if (bootId.empty())
    {
        Http::SendProblem(exchange, Http::Problems::serviceNotAvailable);
        return;
    }
    System::Commons::Json::JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("bootId", bootId);
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
}

} // namespace Oxa::Host::Status
