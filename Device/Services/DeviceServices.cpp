#include "Device/Services/DeviceServices.hpp"

#include "Device/Services/DeviceControlService.hpp"
#include "Device/Services/RtcService.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"

#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Services
{

using Hardware::RealTimeClock::Services::Internal::RtcServiceProxyFactory;
using Interface::Services::DeviceControlServiceProxyFactory;
using Interface::Services::DeviceInfoServiceProxyFactory;
using Interface::Services::DeviceStatusServiceProxyFactory;

DeviceServices::DeviceServices(const std::shared_ptr<const Items::ItemTable>& items,
                               const std::shared_ptr<Commands::DeviceCommands>& commands)
    : infoService(std::make_shared<DeviceInfoService>(items)),
      statusService(std::make_shared<DeviceStatusService>(items)),
      controlService(std::make_shared<DeviceControlService>(commands)),
      rtcService(std::make_shared<RtcService>(&RtcService::ReadSystemClock))
{
}

DeviceServices::~DeviceServices() = default;

void DeviceServices::Offer(BasicString bootId, BasicString buildId)
{
    using Service = System::Rsc::RscRegistration::Service;
    registration.emplace(std::move(bootId), std::move(buildId),
                         std::vector<Service>{{DeviceInfoServiceProxyFactory::GetInstance(), infoService},
                                              {DeviceStatusServiceProxyFactory::GetInstance(), statusService},
                                              {RtcServiceProxyFactory::GetInstance(), rtcService},
                                              {DeviceControlServiceProxyFactory::GetInstance(), controlService}});
}

void DeviceServices::Withdraw()
{
    registration.reset();
}

} // namespace Oxa::Device::Linux::Services
