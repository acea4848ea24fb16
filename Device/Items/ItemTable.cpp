// The table changes only before it is shared and needs no lock. An item's mutex guards its logged causes and is held
// for a search in them only.

#include "Device/Items/ItemTable.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Device::Linux::Items
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

// A device that gives a different wrong value at every read must not fill the log.
constexpr std::size_t maximumLoggedCauses = 8;

} // namespace

DeviceItem::DeviceItem(BasicString key, std::unique_ptr<IItemSource> source, std::optional<System::Rsc::RscType> type,
                       ItemMeaning meaning)
    : key(std::move(key)), source(std::move(source)), type(type), meaning(std::move(meaning))
{
}

void DeviceItem::Read(const ReadPass& pass, ItemValue& value)
{
    const ItemReading reading = TryRead(pass);
    value = reading.value;
    if (!reading.HasValue() && IsNewCause(reading.cause))
    {
        Log(LogLevel::Warning, "the item '{0}' has no value: {1}", key,
            System::Commons::Text::EscapeControlCharacters(reading.cause));
    }
}

ItemReading DeviceItem::TryRead(const ReadPass& pass)
{
    try
    {
        return ItemConversion::ReadAs(type, *source, pass);
    }
    catch (...)
    {
        return ItemReading::Missing(System::Commons::DescribeCurrentException());
    }
}

bool DeviceItem::IsNewCause(const BasicString& cause)
{
    const MutexLock lock(mutex);
    if (loggedCauses.size() >= maximumLoggedCauses ||
        std::find(loggedCauses.begin(), loggedCauses.end(), cause) != loggedCauses.end())
    {
        return false;
    }
    loggedCauses.push_back(cause);
    return true;
}

void ItemTable::Add(const BasicString& key, std::unique_ptr<IItemSource> source,
                    std::optional<System::Rsc::RscType> type, ItemMeaning meaning)
{
    auto item = std::make_unique<DeviceItem>(key, std::move(source), type, std::move(meaning));
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
