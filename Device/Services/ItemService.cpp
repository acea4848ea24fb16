#include "Device/Services/ItemService.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <array>
#include <memory_resource>
#include <vector>

namespace Oxa::Device::Linux::Services
{

using Interface::Services::ItemKey;
using Interface::Services::ItemValue;
using Items::DeviceItem;

namespace
{

/// Null for every unknown key.
using ItemList = std::pmr::vector<DeviceItem*>;

void CheckCount(std::size_t count)
{
    if (count > maximumItemsPerRead)
    {
        throw System::Commons::ArgumentException::Create("count", count, "Too many items for one read");
    }
}

/// Takes the keys and keeps their items.
class ItemCollector final : public System::Rsc::IRscWriteEnumerator<ItemKey>
{
public:
    ItemCollector(const Items::ItemTable& table, ItemList& items) : table(table), items(items) {}

    void BeginWrite(std::size_t count) override
    {
        CheckCount(count);
        items.clear();
        items.reserve(count);
    }

    void WriteNext(const ItemKey& key) override
    {
        CheckCount(items.size() + 1);
        items.push_back(table.TryFind(key.GetView()));
    }

    void EndWrite() override {}

private:
    const Items::ItemTable& table;
    ItemList& items;
};

class ValueReader final : public System::Rsc::IRscReadEnumerator<ItemValue>
{
public:
    explicit ValueReader(const ItemList& items) : items(items), pass(Items::ReadPass::Begin()) {}

    std::size_t BeginRead() override
    {
        return items.size();
    }

    bool ReadNext(ItemValue& value) override
    {
        if (next == items.size())
        {
            return false;
        }
        if (DeviceItem* const item = items[next++])
        {
            item->Read(pass, value);
        }
        else
        {
            value.SetType(System::Rsc::RscType::NotSet);
        }
        return true;
    }

    void EndRead() override {}

private:
    const ItemList& items;
    const Items::ReadPass pass;
    std::size_t next = 0;
};

} // namespace

void ReadItemsOf(const Items::ItemTable& table, const Interface::Services::WriteItemKeysDelegate& writeKeys,
                 const Interface::Services::ReadItemValuesDelegate& readValues)
{
    // Enough for 64 keys without an allocation.
    std::array<std::byte, 64 * sizeof(DeviceItem*)> buffer;
    std::pmr::monotonic_buffer_resource memory(buffer.data(), buffer.size());
    ItemList items(&memory);

    ItemCollector collector(table, items);
    writeKeys(collector);
    ValueReader reader(items);
    readValues(reader);
}

} // namespace Oxa::Device::Linux::Services
