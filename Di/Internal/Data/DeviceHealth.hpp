#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// The temperature of the controller's board.
class DeviceHealth final : public DataSection, private System::Commons::Diagnostics::Logging::Loggable<DeviceHealth>
{
public:
    /// Keeps a reference to the handler's own pointer, which is filled later.
    DeviceHealth(const BasicString& name,
                 std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService);

    /// False when the value was of another type than expected. Passes on what the service throws, unlike the date and
    /// time section: a temperature that cannot be read is a fault of its own.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                       System::Commons::Json::JsonSerializationContext& context) override;

private:
    int8 boardTemperatureCelsius = 0;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
