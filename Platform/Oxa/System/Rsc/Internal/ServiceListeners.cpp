#include "Oxa/System/Rsc/Internal/ServiceListeners.hpp"

#include "Oxa/System/Rsc/IRscServiceListener.hpp"

#include <algorithm>
#include <mutex>

namespace Oxa::System::Rsc::Internal
{

void ServiceListeners::Add(IRscServiceListener& listener)
{
    const std::lock_guard lock(mutex);
    entries.push_back({&listener});
}

void ServiceListeners::Remove(IRscServiceListener& listener)
{
    std::unique_lock lock(mutex);
    const auto entry =
        std::find_if(entries.begin(), entries.end(),
                     [&listener](const Entry& each) { return each.listener == &listener && !each.isRemoved; });
    if (entry == entries.end())
    {
        return;
    }
    entry->isRemoved = true;
    returned.wait(lock, [entry] { return entry->calls == 0; });
    entries.erase(entry);
}

bool ServiceListeners::IsEmpty() const
{
    const std::lock_guard lock(mutex);
    return entries.empty();
}

void ServiceListeners::ReportLost(const BasicString& providerName) noexcept
{
    Report(providerName, &IRscServiceListener::OnServicesLost);
}

void ServiceListeners::ReportAvailable(const BasicString& providerName) noexcept
{
    Report(providerName, &IRscServiceListener::OnServicesAvailable);
}

/// An entry that is being called stays in the list, so that its iterator stays valid while the lock is released.
void ServiceListeners::Report(const BasicString& providerName, ReportFunction function) noexcept
{
    std::unique_lock lock(mutex);
    for (auto entry = entries.begin(); entry != entries.end();)
    {
        if (entry->isRemoved)
        {
            ++entry;
            continue;
        }
        ++entry->calls;
        lock.unlock();
        (entry->listener->*function)(providerName);
        lock.lock();
        const auto called = entry++;
        if (--called->calls == 0)
        {
            returned.notify_all();
        }
    }
}

} // namespace Oxa::System::Rsc::Internal
