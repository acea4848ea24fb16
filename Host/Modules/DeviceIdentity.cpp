#include "Host/Modules/DeviceIdentity.hpp"

#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Device/Interface/Services/IdentityItemKeys.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <memory>

namespace Oxa::Host::Modules
{

using Device::Interface::Services::bootIdKey;
using Device::Interface::Services::buildIdKey;
using Device::Interface::Services::DeviceStatusServiceProxyFactory;
using Device::Interface::Services::IDeviceStatusService;
using Device::Interface::Services::ItemKey;
using System::Rsc::RscType;

namespace
{

/// Null when nobody provides the service.
std::shared_ptr<IDeviceStatusService> FindStatusService()
{
    auto& factory = DeviceStatusServiceProxyFactory::GetInstance();
    const std::shared_ptr<System::Rsc::IRscService> service(
        System::Rsc::ServiceManager::GetService(factory.GetServiceProviderName(), factory));
    return std::dynamic_pointer_cast<IDeviceStatusService>(service);
}

BasicString ReadText(IDeviceStatusService& service, const char* key)
{
    const auto value = service.ReadItem(ItemKey(key));
    return value.GetType() == RscType::String ? value.ToString() : BasicString();
}

} // namespace

BasicString ReadBootId()
{
    const auto service = FindStatusService();
    return service ? ReadText(*service, bootIdKey) : BasicString();
}

std::optional<DeviceIdentity> TryReadDeviceIdentity() noexcept
{
    try
    {
        const auto service = FindStatusService();
        if (!service)
        {
            return std::nullopt;
        }
        return DeviceIdentity{ReadText(*service, bootIdKey), ReadText(*service, buildIdKey)};
    }
    catch (...)
    {
        // Whatever it is: the device cannot be asked.
        return std::nullopt;
    }
}

const BasicString& GetIdentityProvider()
{
    static const BasicString name = DeviceStatusServiceProxyFactory::GetInstance().GetServiceProviderName();
    return name;
}

} // namespace Oxa::Host::Modules
