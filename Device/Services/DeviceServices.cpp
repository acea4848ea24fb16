#include "Device/Services/DeviceServices.hpp"

#include "Device/Services/DeviceControlService.hpp"
#include "Device/Services/RtcService.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace Oxa::Device::Linux::Services
{

using Hardware::RealTimeClock::Services::Internal::RtcServiceProxyFactory;
using Interface::Services::DeviceControlServiceProxyFactory;
using Interface::Services::DeviceInfoServiceProxyFactory;
using Interface::Services::DeviceStatusServiceProxyFactory;
using System::Rsc::ServiceManager;

DeviceServices::DeviceServices(const std::shared_ptr<const Items::ItemTable>& items,
                               const std::shared_ptr<Commands::IDeviceCommands>& commands)
    : infoService(std::make_shared<DeviceInfoService>(items)),
      statusService(std::make_shared<DeviceStatusService>(items)),
      controlService(std::make_shared<DeviceControlService>(commands)),
      rtcService(std::make_shared<RtcService>(&RtcService::ReadSystemClock))
{
}

DeviceServices::~DeviceServices()
{
    Withdraw();
}

void DeviceServices::Offer()
{
    ServiceManager::RegisterService(DeviceInfoServiceProxyFactory::GetInstance(), infoService);
    ServiceManager::RegisterService(DeviceStatusServiceProxyFactory::GetInstance(), statusService);
    ServiceManager::RegisterService(RtcServiceProxyFactory::GetInstance(), rtcService);
    ServiceManager::RegisterService(DeviceControlServiceProxyFactory::GetInstance(), controlService);
}

void DeviceServices::Withdraw()
{
    ServiceManager::UnregisterService(DeviceControlServiceProxyFactory::GetInstance());
    ServiceManager::UnregisterService(RtcServiceProxyFactory::GetInstance());
    ServiceManager::UnregisterService(DeviceStatusServiceProxyFactory::GetInstance());
    ServiceManager::UnregisterService(DeviceInfoServiceProxyFactory::GetInstance());
}

} // namespace Oxa::Device::Linux::Services
