#pragma once

#include "Device/Items/ItemTable.hpp"
#include "Device/Services/MultiItemRead.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"

#include <memory>
#include <utility>

namespace Oxa::Device::Linux::Services
{

/// What the device is, or how it is: both interfaces answer for every item of the table. Safe from several threads.
template <class TService>
class ItemService final : public TService
{
public:
    /// Shares the table, so that a call under way survives the component's end. Requires: not null.
    explicit ItemService(std::shared_ptr<const Items::ItemTable> items) : items(std::move(items)) {}

    [[nodiscard]] Interface::Services::ItemValue ReadItem(const Interface::Services::ItemKey& key) override
    {
        return items->Read(key.GetView());
    }

    /// Throws ArgumentException for more than `maximumItemsPerRead` keys.
    void ReadItems(Interface::Services::WriteItemKeysDelegate writeKeys,
                   Interface::Services::ReadItemValuesDelegate readValues) override
    {
        ReadItemsOf(*items, writeKeys, readValues);
    }

private:
    const std::shared_ptr<const Items::ItemTable> items;
};

using DeviceInfoService = ItemService<Interface::Services::IDeviceInfoService>;
using DeviceStatusService = ItemService<Interface::Services::IDeviceStatusService>;

} // namespace Oxa::Device::Linux::Services
