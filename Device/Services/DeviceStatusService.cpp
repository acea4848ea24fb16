#include "Device/Services/DeviceStatusService.hpp"

#include "Device/Services/MultiItemRead.hpp"

#include <utility>

namespace Oxa::Device::Linux::Services
{

DeviceStatusService::DeviceStatusService(std::shared_ptr<const Items::ItemTable> items) : items(std::move(items)) {}

DeviceStatusService::~DeviceStatusService() = default;

Interface::Services::ItemValue DeviceStatusService::ReadItem(const Interface::Services::ItemKey& key)
{
    return items->Read(key.GetView());
}

void DeviceStatusService::ReadItems(Interface::Services::WriteItemKeysDelegate writeKeys,
                                    Interface::Services::ReadItemValuesDelegate readValues)
{
    ReadItemsOf(*items, writeKeys, readValues);
}

} // namespace Oxa::Device::Linux::Services
