#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Device::Interface::Services
{

/// Makes proxies for IDeviceInfoService. Safe from any thread.
class OXA_EXPORT DeviceInfoServiceProxyFactory final : public System::Rsc::IRscServiceProxyFactory
{
public:
    [[nodiscard]] static DeviceInfoServiceProxyFactory& GetInstance();

    ~DeviceInfoServiceProxyFactory() override;

    [[nodiscard]] const char* GetServiceInterfaceName() const override;
    [[nodiscard]] const char* GetServiceProviderName() const override;
    [[nodiscard]] System::Rsc::IRscService* CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) override;
    [[nodiscard]] std::span<const System::Rsc::RscOperation> GetOperations() const noexcept override;
    [[nodiscard]] std::shared_ptr<System::Rsc::IRscService>
    CreateRemote(std::shared_ptr<System::Rsc::RscRemoteService> service) override;

private:
    DeviceInfoServiceProxyFactory();
};

} // namespace Oxa::Device::Interface::Services
