#include "Di/Internal/DiWbmHandlerBase.hpp"

#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscString.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

using Oxa::Device::Interface::Services::DeviceControlServiceProxyFactory;
using Oxa::Device::Interface::Services::DeviceInfoServiceProxyFactory;
using Oxa::Device::Interface::Services::DeviceStatusServiceProxyFactory;
using Oxa::Hardware::RealTimeClock::Services::Internal::RtcServiceProxyFactory;
using System::Commons::Text::Format;
using System::Rsc::RscString;
using System::Um::executePermission;
using System::Um::SecurityToken;
using System::Um::Services::Internal::AuthorizationServiceProxyFactory;

namespace
{

constexpr const char* objectNameTemplate = "oxa.services.wbm/modules/Di/{}";

} // namespace

DiWbmHandlerBase::DiWbmHandlerBase() = default;

DiWbmHandlerBase::~DiWbmHandlerBase() = default;

bool DiWbmHandlerBase::SubscribeBaseServices()
{
    return TryGetService(DeviceInfoServiceProxyFactory::GetInstance(), deviceInfoService) &&
           TryGetService(DeviceStatusServiceProxyFactory::GetInstance(), deviceStatusService) &&
           TryGetService(DeviceControlServiceProxyFactory::GetInstance(), deviceControlService) &&
           TryGetService(AuthorizationServiceProxyFactory::GetInstance(), authorizationService) &&
           TryGetService(RtcServiceProxyFactory::GetInstance(), rtcService);
}

bool DiWbmHandlerBase::BaseServicesAvailable() const
{
    return deviceInfoService && deviceStatusService && deviceControlService && authorizationService && rtcService;
}

bool DiWbmHandlerBase::HasPermissionOnObject(const SecurityToken& token, const BasicString& name) const
{
    const RscString<512> objectName(Format(objectNameTemplate, name));
    return authorizationService->IsAuthorized(objectName, executePermission, token.GetValue());
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
