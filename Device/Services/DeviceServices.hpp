#pragma once

#include "Device/Commands/IDeviceCommands.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Device/Services/ItemService.hpp"

#include <memory>

namespace Oxa::Device::Linux::Services
{

class DeviceControlService;
class RtcService;

/// The four services of this component and their place in the service manager. Owned by the component.
/// Threads: one at a time offers or withdraws.
class DeviceServices final
{
public:
    /// Offers nothing yet. Requires: neither argument is null.
    DeviceServices(const std::shared_ptr<const Items::ItemTable>& items,
                   const std::shared_ptr<Commands::IDeviceCommands>& commands);
    DeviceServices(const DeviceServices&) = delete;
    DeviceServices& operator=(const DeviceServices&) = delete;

    /// Withdraws what is offered.
    ~DeviceServices();

    void Offer();

    /// Calls under way finish.
    void Withdraw();

private:
    const std::shared_ptr<DeviceInfoService> infoService;
    const std::shared_ptr<DeviceStatusService> statusService;
    const std::shared_ptr<DeviceControlService> controlService;
    const std::shared_ptr<RtcService> rtcService;
};

} // namespace Oxa::Device::Linux::Services
