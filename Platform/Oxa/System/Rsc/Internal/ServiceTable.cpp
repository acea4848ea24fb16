#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <algorithm>
#include <mutex>

namespace Oxa::System::Rsc::Internal
{

ServiceTable& ServiceTable::GetInstance()
{
    static auto& table = *new ServiceTable;
    return table;
}

std::shared_ptr<RscServiceSlot> ServiceTable::FindOrCreate(const BasicString& provider, const BasicString& interface)
{
    const std::lock_guard lock(mutex);
    std::weak_ptr<RscServiceSlot>& known = slots[{provider, interface}];
    auto slot = known.lock();
    if (!slot)
    {
        slot = std::make_shared<RscServiceSlot>(provider, interface);
        known = slot;
    }
    return slot;
}

void ServiceTable::Add(const std::shared_ptr<Registration>& registration)
{
    const std::lock_guard lock(mutex);
    if (std::any_of(registrations.begin(), registrations.end(),
                    [&registration](const auto& each) { return each->providerName == registration->providerName; }))
    {
        throw System::Commons::InvalidOperationException::Create("the provider '{0}' is registered already",
                                                                 registration->providerName);
    }
    registrations.push_back(registration);
}

void ServiceTable::Remove(const Registration& registration)
{
    const std::lock_guard lock(mutex);
    std::erase_if(registrations, [&registration](const auto& each) { return each.get() == &registration; });
}

std::vector<std::shared_ptr<const Registration>> ServiceTable::GetRegistrations() const
{
    const std::lock_guard lock(mutex);
    return registrations;
}

} // namespace Oxa::System::Rsc::Internal
