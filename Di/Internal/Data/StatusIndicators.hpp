#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"

#include <memory>
#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// One LED of the front panel. A value type.
class StatusIndicator final : public System::Commons::Json::IJsonSerializable
{
public:
    /// `fullName`: the LED's device item key. `statusWord`: the state in the low 16 bits, the colour in the high 16.
    StatusIndicator(BasicString fullName, uint32 statusWord);

    /// Does nothing: indicators are only written.
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;

    /// Writes one item of the complex array that is open.
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

private:
    BasicString fullName;
    uint32 stateCode;
    /// Not shifted down: green is 0x00010000. Clients compare against these numbers.
    uint32 colorCode;
};

/// The LEDs of the front panel, in a fixed order.
class StatusIndicators final : public DataSection,
                               private System::Commons::Diagnostics::Logging::Loggable<StatusIndicators>
{
public:
    /// Keeps a reference to the handler's own pointer, which is filled later.
    StatusIndicators(const BasicString& name,
                     std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService);

    /// False when the number of results is not that of the LEDs; a single LED of the wrong type is left out. Passes on
    /// what the service throws. The list of the previous update is gone in any case.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                       System::Commons::Json::JsonSerializationContext& context) override;

private:
    std::vector<StatusIndicator> indicators;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
