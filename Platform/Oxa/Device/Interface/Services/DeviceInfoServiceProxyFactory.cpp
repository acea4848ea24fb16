#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"

#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/Internal/RemoteItemService.hpp"

#include <utility>

namespace Oxa::Device::Interface::Services
{

IDeviceInfoService::~IDeviceInfoService() = default;

namespace
{

class DeviceInfoServiceProxy final : public IDeviceInfoService
{
public:
    explicit DeviceInfoServiceProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) : slot(std::move(slot)) {}

    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        return slot->Acquire<IDeviceInfoService>()->ReadItem(key);
    }

    void ReadItems(WriteItemKeysDelegate writeKeys, ReadItemValuesDelegate readValues) override
    {
        slot->Acquire<IDeviceInfoService>()->ReadItems(std::move(writeKeys), std::move(readValues));
    }

private:
    std::shared_ptr<System::Rsc::RscServiceSlot> slot;
};

} // namespace

DeviceInfoServiceProxyFactory::DeviceInfoServiceProxyFactory() = default;

DeviceInfoServiceProxyFactory::~DeviceInfoServiceProxyFactory() = default;

DeviceInfoServiceProxyFactory& DeviceInfoServiceProxyFactory::GetInstance()
{
    static DeviceInfoServiceProxyFactory instance;
    return instance;
}

const char* DeviceInfoServiceProxyFactory::GetServiceInterfaceName() const
{
    return "Oxa::Device::Interface::Services::IDeviceInfoService";
}

const char* DeviceInfoServiceProxyFactory::GetServiceProviderName() const
{
    return "Oxa.Device";
}

System::Rsc::IRscService* DeviceInfoServiceProxyFactory::CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot)
{
    return new DeviceInfoServiceProxy(std::move(slot));
}

std::span<const System::Rsc::RscOperation> DeviceInfoServiceProxyFactory::GetOperations() const noexcept
{
    return Internal::RemoteItemService<IDeviceInfoService>::GetOperations();
}

std::shared_ptr<System::Rsc::IRscService>
DeviceInfoServiceProxyFactory::CreateRemote(std::shared_ptr<System::Rsc::RscRemoteService> service)
{
    return std::make_shared<Internal::RemoteItemService<IDeviceInfoService>>(std::move(service));
}

} // namespace Oxa::Device::Interface::Services
