#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Device::Interface::Services
{

/// Makes proxies for IDeviceControlService. Safe from any thread.
class OXA_EXPORT DeviceControlServiceProxyFactory final : public System::Rsc::RscServiceProxyFactory
{
public:
    [[nodiscard]] static DeviceControlServiceProxyFactory& GetInstance();

    ~DeviceControlServiceProxyFactory() override;

private:
    DeviceControlServiceProxyFactory();
};

} // namespace Oxa::Device::Interface::Services
