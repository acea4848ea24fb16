#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"

#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Device/Interface/Services/Internal/RemoteItemService.hpp"

#include <utility>

namespace Oxa::Device::Interface::Services
{

IDeviceStatusService::~IDeviceStatusService() = default;

namespace
{

class DeviceStatusServiceProxy final : public IDeviceStatusService
{
public:
    explicit DeviceStatusServiceProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) : slot(std::move(slot)) {}

    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        return slot->Acquire<IDeviceStatusService>()->ReadItem(key);
    }

    void ReadItems(WriteItemKeysDelegate writeKeys, ReadItemValuesDelegate readValues) override
    {
        slot->Acquire<IDeviceStatusService>()->ReadItems(std::move(writeKeys), std::move(readValues));
    }

private:
    std::shared_ptr<System::Rsc::RscServiceSlot> slot;
};

} // namespace

DeviceStatusServiceProxyFactory::DeviceStatusServiceProxyFactory() = default;

DeviceStatusServiceProxyFactory::~DeviceStatusServiceProxyFactory() = default;

DeviceStatusServiceProxyFactory& DeviceStatusServiceProxyFactory::GetInstance()
{
    static DeviceStatusServiceProxyFactory instance;
    return instance;
}

const char* DeviceStatusServiceProxyFactory::GetServiceInterfaceName() const
{
    return "Oxa::Device::Interface::Services::IDeviceStatusService";
}

const char* DeviceStatusServiceProxyFactory::GetServiceProviderName() const
{
    return "Oxa.Device";
}

System::Rsc::IRscService*
DeviceStatusServiceProxyFactory::CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot)
{
    return new DeviceStatusServiceProxy(std::move(slot));
}

std::span<const System::Rsc::RscOperation> DeviceStatusServiceProxyFactory::GetOperations() const noexcept
{
    return Internal::RemoteItemService<IDeviceStatusService>::GetOperations();
}

std::shared_ptr<System::Rsc::IRscService>
DeviceStatusServiceProxyFactory::CreateRemote(std::shared_ptr<System::Rsc::RscRemoteService> service)
{
    return std::make_shared<Internal::RemoteItemService<IDeviceStatusService>>(std::move(service));
}

} // namespace Oxa::Device::Interface::Services
