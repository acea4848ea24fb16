#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Device::Interface::Services
{

/// Makes proxies for IDeviceInfoService. Safe from any thread.
class OXA_EXPORT DeviceInfoServiceProxyFactory final : public System::Rsc::RscServiceProxyFactory
{
public:
    [[nodiscard]] static DeviceInfoServiceProxyFactory& GetInstance();

    ~DeviceInfoServiceProxyFactory() override;

private:
    DeviceInfoServiceProxyFactory();
};

} // namespace Oxa::Device::Interface::Services
