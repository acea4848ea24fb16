#include "Device/Services/DeviceInfoService.hpp"

#include "Device/Services/MultiItemRead.hpp"

#include <utility>

namespace Oxa::Device::Linux::Services
{

DeviceInfoService::DeviceInfoService(std::shared_ptr<const Items::ItemTable> items) : items(std::move(items)) {}

DeviceInfoService::~DeviceInfoService() = default;

Interface::Services::ItemValue DeviceInfoService::ReadItem(const Interface::Services::ItemKey& key)
{
    return items->Read(key.GetView());
}

void DeviceInfoService::ReadItems(Interface::Services::WriteItemKeysDelegate writeKeys,
                                  Interface::Services::ReadItemValuesDelegate readValues)
{
    ReadItemsOf(*items, writeKeys, readValues);
}

} // namespace Oxa::Device::Linux::Services
