#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <algorithm>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::MutexLock;

ServiceTable& ServiceTable::GetInstance()
{
    static auto& table = *new ServiceTable;
    return table;
}

std::shared_ptr<RscServiceSlot> ServiceTable::FindOrCreate(const BasicString& provider, const BasicString& interface)
{
    const MutexLock lock(mutex);
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
    const MutexLock lock(mutex);
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
    const MutexLock lock(mutex);
    std::erase_if(registrations, [&registration](const auto& each) { return each.get() == &registration; });
}

std::vector<std::shared_ptr<const Registration>> ServiceTable::GetRegistrations() const
{
    const MutexLock lock(mutex);
    return registrations;
}

} // namespace Oxa::System::Rsc::Internal
