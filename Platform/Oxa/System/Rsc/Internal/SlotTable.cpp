#include "Oxa/System/Rsc/Internal/SlotTable.hpp"

#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <algorithm>
#include <mutex>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

std::shared_ptr<RscServiceSlot> SlotTable::FindOrCreate(const BasicString& provider, const BasicString& interface)
{
    const Key key(provider, interface);
    const std::lock_guard lock(mutex);
    return GetSlot(key, entries[key]);
}

std::shared_ptr<RscServiceSlot> SlotTable::Register(IRscServiceProxyFactory& factory)
{
    const Key key(factory.GetServiceProviderName(), factory.GetServiceInterfaceName());
    const std::lock_guard lock(mutex);
    Entry& entry = entries[key];
    entry.registeredSlot = GetSlot(key, entry);
    entry.factory = &factory;
    return entry.registeredSlot;
}

bool SlotTable::IsProviderComplete(const BasicString& provider) const
{
    const std::lock_guard lock(mutex);
    return std::all_of(entries.begin(), entries.end(),
                       [&provider](const auto& each)
                       {
                           const auto& slot = each.second.registeredSlot;
                           // Services that this process never provided do not count.
                           return each.first.first != provider || !slot || slot->IsProvided();
                       });
}

void SlotTable::ForEachRegistered(const UseFunction& use) const
{
    std::vector<Entry> registered;
    {
        const std::lock_guard lock(mutex);
        for (const auto& each : entries)
        {
            if (each.second.factory != nullptr)
            {
                registered.push_back(each.second);
            }
        }
    }
    for (const Entry& entry : registered)
    {
        use(*entry.factory, entry.registeredSlot);
    }
}

void SlotTable::RemoveUnregistered()
{
    const std::lock_guard lock(mutex);
    std::erase_if(entries, [](const auto& each) { return each.second.factory == nullptr; });
}

std::shared_ptr<RscServiceSlot> SlotTable::GetSlot(const Key& key, Entry& entry)
{
    auto slot = entry.slot.lock();
    if (!slot)
    {
        slot = std::make_shared<RscServiceSlot>(key.first, key.second);
        entry.slot = slot;
    }
    return slot;
}

} // namespace Oxa::System::Rsc::Internal
