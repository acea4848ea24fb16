#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Device::Interface::Services
{

/// Makes proxies for IDeviceControlService. Safe from any thread.
class OXA_EXPORT DeviceControlServiceProxyFactory final : public System::Rsc::IRscServiceProxyFactory
{
public:
    [[nodiscard]] static DeviceControlServiceProxyFactory& GetInstance();

    ~DeviceControlServiceProxyFactory() override;

    [[nodiscard]] const char* GetServiceInterfaceName() const override;
    [[nodiscard]] const char* GetServiceProviderName() const override;
    [[nodiscard]] System::Rsc::IRscService* CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) override;
    [[nodiscard]] std::span<const System::Rsc::RscOperation> GetOperations() const noexcept override;
    [[nodiscard]] std::shared_ptr<System::Rsc::IRscService>
    CreateRemote(std::shared_ptr<System::Rsc::RscRemoteService> service) override;

private:
    DeviceControlServiceProxyFactory();
};

} // namespace Oxa::Device::Interface::Services
