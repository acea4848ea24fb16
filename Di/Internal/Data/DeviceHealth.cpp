#include "Di/Internal/Data/DeviceHealth.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

using Oxa::Device::Interface::Services::IDeviceStatusService;
using System::Commons::Json::JsonSerializationContext;
using System::Commons::Json::JsonWriter;
using System::Rsc::RscString;

DeviceHealth::DeviceHealth(const BasicString& name, std::shared_ptr<IDeviceStatusService>& deviceStatusService)
    : DataSection(name), deviceStatusService(deviceStatusService)
{
}

bool DeviceHealth::UpdateData()
{
    return ConvRscVariant512Value(deviceStatusService->ReadItem(RscString<512>("Status.Board.Temperature.Centigrade")),
                                  boardTemperatureCelsius);
}

void DeviceHealth::WriteJsonData(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.WriteStartObject(GetName());
    writer.WriteValue("boardTemperature", boardTemperatureCelsius);
    writer.WriteEndObject();
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
