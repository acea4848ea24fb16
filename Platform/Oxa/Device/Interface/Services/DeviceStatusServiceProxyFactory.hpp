#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Device::Interface::Services
{

/// Makes proxies for IDeviceStatusService. Safe from any thread.
class OXA_EXPORT DeviceStatusServiceProxyFactory final : public System::Rsc::RscServiceProxyFactory
{
public:
    [[nodiscard]] static DeviceStatusServiceProxyFactory& GetInstance();

    ~DeviceStatusServiceProxyFactory() override;

private:
    DeviceStatusServiceProxyFactory();
};

} // namespace Oxa::Device::Interface::Services
