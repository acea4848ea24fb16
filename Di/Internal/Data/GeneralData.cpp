#include "Di/Internal/Data/GeneralData.hpp"

#include "Di/Internal/Settings/DiSettings.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

using Settings::DiSettings;

GeneralData::GeneralData(const BasicString& name, std::shared_ptr<IDeviceInfoService>& deviceInfoService,
                         DiSettings& settings)
    : DataSection(name), deviceInfoService(deviceInfoService), settings(settings)
{
}

void GeneralData::Setup()
{
    if (!deviceInfoService)
    {
        return;
    }
    itemKeys.clear();
    for (const char* const key : {"General.ArticleName", "General.ArticleNumber", "General.SerialNumber",
                                  "General.Firmware.Version", "General.Hardware.Version", "General.Fpga.Version"})
    {
        itemKeys.emplace_back(key);
    }
    const std::size_t expectedCount = itemKeys.size();
    deviceInfoService->ReadItems(keysDelegate, resultsDelegate);
    if (results.size() != expectedCount)
    {
        // The misspelling stays: users and tools search logs for exactly this text.
        Log(LogLevel::Warning, "Failed to get device general data. Size missmatch error. Expected: {0}, Result: {1}",
            expectedCount, results.size());
        return;
    }
    ConvRscVariant512Value(results[0], articleName);
    ConvRscVariant512Value(results[1], orderNumber);
    ConvRscVariant512Value(results[2], serialNumber);
    ConvRscVariant512Value(results[3], firmwareVersion);
    ConvRscVariant512Value(results[4], hardwareVersion);
    ConvRscVariant512Value(results[5], fpgaVersion);
}

bool GeneralData::UpdateData()
{
    ReadText("General.SPNS.Firmware.Version", splcFirmwareVersion);
    ReadText("General.SPNS.Fpga.Version", splcFpgaVersion);
    return true;
}

void GeneralData::WriteJsonData(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.WriteStartObject(GetName());
    writer.WriteValue("articleName", articleName);
    // The device's item is the article number; clients know it by this name.
    writer.WriteValue("orderNumber", orderNumber);
    writer.WriteValue("serialNumber", serialNumber);
    writer.WriteValue("fullFirmwareVersion", firmwareVersion);
    writer.WriteValue("hardwareVersion", hardwareVersion);
    writer.WriteValue("fpgaVersion", fpgaVersion);
    writer.WriteValue("splcSupported", settings.splcSupported);
    writer.WriteValue("splcFirmwareVersion", splcFirmwareVersion);
    writer.WriteValue("splcFpgaVersion", splcFpgaVersion);
    writer.WriteEndObject();
}

void GeneralData::ReadText(const char* key, BasicString& text)
{
    ConvRscVariant512Value(deviceInfoService->ReadItem(RscString<512>(key)), text);
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
