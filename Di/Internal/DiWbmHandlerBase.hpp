#pragma once

#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidCastException.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"
#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

/// The object whose permission guards the control requests; the data handler reports it beforehand.
inline const BasicString deviceControlObjectName = "DeviceControl";

/// Requests a service from the service manager and puts its proxy into `member`. False when the service is not
/// available; `member` then keeps its value. Throws ArgumentException when the service has no provider name,
/// InvalidCastException when the proxy is of another interface.
template <class TService>
[[nodiscard]] bool TryGetService(System::Rsc::IRscServiceProxyFactory& factory, std::shared_ptr<TService>& member)
{
    const BasicString providerName = factory.GetServiceProviderName();
    if (providerName.empty())
    {
        throw System::Commons::ArgumentException::Create("TService", factory.GetServiceInterfaceName(),
                                                         "Service does not specify a service provider");
    }
    System::Rsc::IRscService* const proxy = System::Rsc::ServiceManager::GetService(providerName.c_str(), factory);
    if (proxy == nullptr)
    {
        return false;
    }
    auto* const service = dynamic_cast<TService*>(proxy);
    if (service == nullptr)
    {
        // The proxy leaks on purpose: an object of another type than its factory promised may not be safe to delete.
        throw System::Commons::InvalidCastException::Create("The service does not implement service interface '{0}'.",
                                                            factory.GetServiceInterfaceName());
    }
    member = std::shared_ptr<TService>(service);
    return true;
}

/// The common base of both request handlers: the services that they use and the permission check.
/// Threads: services are subscribed on the setup thread while no request is routed here; afterwards the members are
/// only read, without a lock.
class DiWbmHandlerBase : public Services::Commons::Wbm::Modules::WbmRequestHandlerBase
{
public:
    ~DiWbmHandlerBase() override;

protected:
    DiWbmHandlerBase();

    /// False at the first service that is not available; the later ones are then not requested. Members that are not
    /// reached keep the proxies of an earlier subscription. Throws as `TryGetService` does.
    bool SubscribeBaseServices();

    [[nodiscard]] bool BaseServicesAvailable() const;

    /// Whether the token's user may execute the module's object `name`, at most 483 bytes. Throws ArgumentException for
    /// a longer one. Requires: the authorization service is subscribed.
    [[nodiscard]] bool HasPermissionOnObject(const System::Um::SecurityToken& token, const BasicString& name) const;

    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceInfoService> deviceInfoService;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService> deviceStatusService;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceControlService> deviceControlService;
    std::shared_ptr<System::Um::Services::Internal::IAuthorizationService> authorizationService;
    std::shared_ptr<Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService> rtcService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
