#pragma once

#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"
#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

/// What both request handlers share: the services that they work with and the permission check.
/// Threads: services are subscribed on the setup thread while no request is routed here; afterwards the members are
/// only read, without a lock.
class DiWbmHandlerBase : public Services::Commons::Wbm::Modules::WbmRequestHandlerBase
{
public:
    ~DiWbmHandlerBase() override;

protected:
    DiWbmHandlerBase();

    /// False at the first service that cannot be had; the later ones are then not asked for. Members that are not
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
