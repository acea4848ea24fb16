#pragma once

#include "Device/Commands/DeviceCommands.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Device/Services/ItemService.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <memory>
#include <optional>

namespace Oxa::Device::Linux::Services
{

class DeviceControlService;
class RtcService;

/// The four services of this component, which are offered and withdrawn together. Owned by the component.
/// Threads: one at a time offers or withdraws.
class DeviceServices final
{
public:
    /// Offers nothing yet. Requires: neither argument is null.
    DeviceServices(const std::shared_ptr<const Items::ItemTable>& items,
                   const std::shared_ptr<Commands::DeviceCommands>& commands);
    DeviceServices(const DeviceServices&) = delete;
    DeviceServices& operator=(const DeviceServices&) = delete;

    ~DeviceServices();

    /// `bootId`, `buildId`: the identity of the device's run. Requires: nothing is offered.
    void Offer(BasicString bootId, BasicString buildId);

    /// Calls under way finish.
    void Withdraw();

private:
    const std::shared_ptr<DeviceInfoService> infoService;
    const std::shared_ptr<DeviceStatusService> statusService;
    const std::shared_ptr<DeviceControlService> controlService;
    const std::shared_ptr<RtcService> rtcService;
    std::optional<System::Rsc::RscRegistration> registration;
};

} // namespace Oxa::Device::Linux::Services
