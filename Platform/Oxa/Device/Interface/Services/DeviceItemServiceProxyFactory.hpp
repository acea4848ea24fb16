#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Device::Interface::Services
{

/// Makes proxies for IDeviceItemService. Safe from any thread.
class OXA_EXPORT DeviceItemServiceProxyFactory final : public System::Rsc::RscServiceProxyFactory
{
public:
    [[nodiscard]] static DeviceItemServiceProxyFactory& GetInstance();

    ~DeviceItemServiceProxyFactory() override;

private:
    DeviceItemServiceProxyFactory();
};

} // namespace Oxa::Device::Interface::Services
