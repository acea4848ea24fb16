#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"

#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"

#include <utility>

namespace Oxa::Device::Interface::Services
{

IDeviceControlService::~IDeviceControlService() = default;

namespace
{

class DeviceControlServiceProxy final : public IDeviceControlService
{
public:
    explicit DeviceControlServiceProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) : slot(std::move(slot)) {}

    AccessErrorCode Restart() override
    {
        return slot->Acquire<IDeviceControlService>()->Restart();
    }

    [[nodiscard]] AccessErrorCode FactoryReset(uint16 resetKind) override
    {
        return slot->Acquire<IDeviceControlService>()->FactoryReset(resetKind);
    }

private:
    std::shared_ptr<System::Rsc::RscServiceSlot> slot;
};

} // namespace

DeviceControlServiceProxyFactory::DeviceControlServiceProxyFactory() = default;

DeviceControlServiceProxyFactory::~DeviceControlServiceProxyFactory() = default;

DeviceControlServiceProxyFactory& DeviceControlServiceProxyFactory::GetInstance()
{
    static DeviceControlServiceProxyFactory instance;
    return instance;
}

const char* DeviceControlServiceProxyFactory::GetServiceInterfaceName() const
{
    return "Oxa::Device::Interface::Services::IDeviceControlService";
}

const char* DeviceControlServiceProxyFactory::GetServiceProviderName() const
{
    return "Oxa.Device";
}

System::Rsc::IRscService*
DeviceControlServiceProxyFactory::CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot)
{
    return new DeviceControlServiceProxy(std::move(slot));
}

} // namespace Oxa::Device::Interface::Services
