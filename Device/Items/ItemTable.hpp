#pragma once

#include "Device/Items/DeviceItem.hpp"
#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Oxa::Device::Linux::Items
{

/// Everything that can be read from this device, by key.
/// Threads: filled by one thread, then read by any number; each item under its own lock. A read allocates nothing.
class ItemTable final
{
public:
    ItemTable();
    ItemTable(const ItemTable&) = delete;
    ItemTable& operator=(const ItemTable&) = delete;
    ~ItemTable();

    /// `type`: the item's; none: that of each of the source's values. Throws ArgumentException when the key is taken.
    /// Requires: `source` is not null.
    void Add(const BasicString& key, std::unique_ptr<IItemSource> source,
             std::optional<System::Rsc::RscType> type = std::nullopt);

    /// Null for an unknown key. Valid as long as the table.
    [[nodiscard]] DeviceItem* TryFind(std::string_view key) const;

    /// The type NotSet for an unknown key.
    [[nodiscard]] ItemValue Read(std::string_view key) const;

    /// In the order of their keys.
    [[nodiscard]] std::vector<DeviceItem*> GetItems() const;

private:
    /// By the key that the item itself holds.
    std::unordered_map<std::string_view, std::unique_ptr<DeviceItem>> items;
};

} // namespace Oxa::Device::Linux::Items
