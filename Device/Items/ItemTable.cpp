#include "Device/Items/ItemTable.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Device::Linux::Items
{

ItemTable::ItemTable() = default;

ItemTable::~ItemTable() = default;

void ItemTable::Add(const BasicString& key, std::unique_ptr<IItemSource> source,
                    std::optional<System::Rsc::RscType> type)
{
    auto item = std::make_unique<DeviceItem>(key, std::move(source), type);
    const std::string_view itemKey = item->GetKey();
    if (!items.try_emplace(itemKey, std::move(item)).second)
    {
        throw System::Commons::ArgumentException::Create("key", key, "There is an item of this key already");
    }
}

DeviceItem* ItemTable::TryFind(std::string_view key) const
{
    const auto found = items.find(key);
    return found == items.end() ? nullptr : found->second.get();
}

ItemValue ItemTable::Read(std::string_view key) const
{
    ItemValue value;
    if (DeviceItem* const item = TryFind(key))
    {
        item->Read(ReadPass::Begin(), value);
    }
    return value;
}

std::vector<DeviceItem*> ItemTable::GetItems() const
{
    std::vector<DeviceItem*> sorted;
    sorted.reserve(items.size());
    for (const auto& [key, item] : items)
    {
        sorted.push_back(item.get());
    }
    std::sort(sorted.begin(), sorted.end(),
              [](const DeviceItem* left, const DeviceItem* right) { return left->GetKey() < right->GetKey(); });
    return sorted;
}

} // namespace Oxa::Device::Linux::Items
