#pragma once

#include "Device/Items/ItemTable.hpp"
#include "Oxa/Device/Interface/Services/DeviceItems.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"

#include <cstddef>
#include <memory>
#include <utility>

namespace Oxa::Device::Linux::Services
{

/// The largest number of keys in one multi-item read.
inline constexpr std::size_t maximumItemsPerRead = 4096;

/// Takes the keys from the first delegate, then passes the values, each read on demand, to the second; all in one pass.
/// Allocates nothing for the usual number of keys. Throws ArgumentException for too many keys, and what the
/// delegates throw. Safe from several threads.
void ReadItemsOf(const Items::ItemTable& table, const Interface::Services::WriteItemKeysDelegate& writeKeys,
                 const Interface::Services::ReadItemValuesDelegate& readValues);

/// What the device is, or how it is: both interfaces read every item of the table. Safe from several threads.
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
