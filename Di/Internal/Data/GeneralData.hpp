#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Settings
{
class DiSettings;
}

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// What the device is. The identity is read once, at set-up; the versions of the safety part at every update.
class GeneralData final : public DataSection,
                          private System::Commons::Diagnostics::Logging::Loggable<GeneralData, false, false>
{
public:
    /// Keeps references: to the handler's own pointer, which is filled later, and to the settings.
    GeneralData(const BasicString& name,
                std::shared_ptr<Oxa::Device::Interface::Services::IDeviceInfoService>& deviceInfoService,
                Settings::DiSettings& settings);

    /// Passes on what the service throws. Without the service the values stay as they are.
    void Setup() override;

    /// Always true. Passes on what the service throws.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                       System::Commons::Json::JsonSerializationContext& context) override;

private:
    void ReadText(const char* key, BasicString& text);

    BasicString articleName = "N/A";
    BasicString orderNumber = "N/A";
    BasicString serialNumber = "N/A";
    BasicString firmwareVersion = "N/A";
    BasicString hardwareVersion = "N/A";
    BasicString fpgaVersion = "N/A";
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceInfoService>& deviceInfoService;
    Settings::DiSettings& settings;
    BasicString splcFirmwareVersion = "N/A";
    BasicString splcFpgaVersion = "N/A";
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
