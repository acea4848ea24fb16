#pragma once

#include "Di/Internal/Data/DataSection.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// The temperature of the controller's board.
class DeviceHealth final : public DataSection, private Loggable<DeviceHealth>
{
public:
    /// Keeps a reference to the handler's own pointer, which is filled later.
    DeviceHealth(const BasicString& name, std::shared_ptr<IDeviceStatusService>& deviceStatusService);

    /// False when the value was of another type than expected. Passes on what the service throws, unlike the date and
    /// time section: a temperature that cannot be read is a fault of its own.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(JsonWriter& writer, JsonSerializationContext& context) override;

private:
    int8 boardTemperatureCelsius = 0;
    std::shared_ptr<IDeviceStatusService>& deviceStatusService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
