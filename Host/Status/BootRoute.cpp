#include "Host/Status/BootRoute.hpp"

#include "Host/Http/Problem.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace Oxa::Host::Status
{

using Device::Interface::Services::DeviceStatusServiceProxyFactory;
using Device::Interface::Services::IDeviceStatusService;
using Device::Interface::Services::ItemKey;
using System::Rsc::RscType;

namespace
{

/// Empty when the device does not tell at the moment. Throws RscServiceException when the service goes away meanwhile.
BasicString ReadBootId()
{
    auto& factory = DeviceStatusServiceProxyFactory::GetInstance();
    const std::unique_ptr<System::Rsc::IRscService> service(
        System::Rsc::ServiceManager::GetService(factory.GetServiceProviderName(), factory));
    auto* const status = dynamic_cast<IDeviceStatusService*>(service.get());
    if (status == nullptr)
    {
        return {};
    }
    const auto value = status->ReadItem(ItemKey("Status.System.BootId"));
    return value.GetType() == RscType::String ? value.ToString() : BasicString();
}

void Answer(Http::IHttpExchange& exchange)
{
    const BasicString bootId = ReadBootId();
    if (bootId.empty())
    {
        Http::SendProblem(exchange, Http::Problems::serviceNotAvailable);
        return;
    }
    System::Commons::Json::JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("bootId", bootId);
    writer.WriteEndObject();
    exchange.Send({200, "application/json; charset=utf-8", {}}, writer.GetText());
}

} // namespace

BootRoute::BootRoute(Modules::RequestStrand& strand) : strand(strand) {}

Http::Handling BootRoute::Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const
{
    return strand.Run(exchange, [](Http::IHttpExchange& each) { Answer(each); });
}

} // namespace Oxa::Host::Status
