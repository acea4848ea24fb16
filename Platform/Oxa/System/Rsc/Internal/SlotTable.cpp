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
    const std::lock_guard lock(mutex);
    return GetEntry(provider, interface).slot;
}

std::shared_ptr<RscServiceSlot> SlotTable::Register(IRscServiceProxyFactory& factory)
{
    const std::lock_guard lock(mutex);
    Entry& entry = GetEntry(factory.GetServiceProviderName(), factory.GetServiceInterfaceName());
    entry.factory = &factory;
    return entry.slot;
}

bool SlotTable::IsProviderComplete(const BasicString& provider) const
{
    const std::lock_guard lock(mutex);
    return std::all_of(entries.begin(), entries.end(),
                       [&provider](const auto& each)
                       { return each.first.first != provider || each.second.slot->IsProvided(); });
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
        use(*entry.factory, entry.slot);
    }
}

void SlotTable::RemoveUnregistered()
{
    std::vector<Entry> removed;
    const std::lock_guard lock(mutex);
    for (auto each = entries.begin(); each != entries.end();)
    {
        if (each->second.factory == nullptr)
        {
            removed.push_back(each->second);
            each = entries.erase(each);
        }
        else
        {
            ++each;
        }
    }
}

SlotTable::Entry& SlotTable::GetEntry(const BasicString& provider, const BasicString& interface)
{
    Entry& entry = entries[{provider, interface}];
    if (!entry.slot)
    {
        entry.slot = std::make_shared<RscServiceSlot>(provider, interface);
    }
    return entry;
}

} // namespace Oxa::System::Rsc::Internal
