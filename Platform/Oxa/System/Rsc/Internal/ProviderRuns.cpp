#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"

#include "Oxa/System/Rsc/IRscServiceListener.hpp"

#include <algorithm>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::MutexLock;

ProviderRuns& ProviderRuns::GetInstance()
{
    static auto& runs = *new ProviderRuns;
    return runs;
}

void ProviderRuns::Begin(const BasicString& providerName, const BasicString& bootId, const BasicString& buildId)
{
    const MutexLock lock(mutex);
    Provider& provider = providers[providerName];
    const bool isSameRun = !bootId.empty() && provider.run.bootId == bootId && provider.run.buildId == buildId;
    if (!isSameRun)
    {
        provider.run = {++lastEpoch, bootId, buildId};
    }
    provider.isThere = true;
}

void ProviderRuns::End(const BasicString& providerName) noexcept
{
    const MutexLock lock(mutex);
    const auto provider = providers.find(providerName);
    if (provider != providers.end())
    {
        provider->second.isThere = false;
    }
}

/// An entry that is being called stays in the list, so that its iterator stays valid while the lock is released.
void ProviderRuns::Report(const BasicString& providerName) noexcept
{
    MutexLock lock(mutex);
    for (auto entry = listeners.begin(); entry != listeners.end();)
    {
        if (entry->isRemoved)
        {
            ++entry;
            continue;
        }
        ++entry->calls;
        lock.Unlock();
        entry->listener->OnEpochChanged(providerName);
        lock.Lock();
        const auto called = entry++;
        if (--called->calls == 0)
        {
            returned.NotifyAll();
        }
    }
}

uint64 ProviderRuns::GetEpoch(const BasicString& providerName) const noexcept
{
    const MutexLock lock(mutex);
    const auto provider = providers.find(providerName);
    return provider != providers.end() && provider->second.isThere ? provider->second.run.epoch : 0;
}

RscRun ProviderRuns::Get(const BasicString& providerName) const
{
    const MutexLock lock(mutex);
    const auto provider = providers.find(providerName);
    return provider != providers.end() && provider->second.isThere ? provider->second.run : RscRun();
}

void ProviderRuns::AddListener(IRscServiceListener& listener)
{
    const MutexLock lock(mutex);
    listeners.push_back({&listener});
}

void ProviderRuns::RemoveListener(IRscServiceListener& listener)
{
    MutexLock lock(mutex);
    const auto entry =
        std::find_if(listeners.begin(), listeners.end(),
                     [&listener](const Listener& each) { return each.listener == &listener && !each.isRemoved; });
    if (entry == listeners.end())
    {
        return;
    }
    entry->isRemoved = true;
    while (entry->calls != 0)
    {
        returned.Wait(mutex);
    }
    listeners.erase(entry);
}

} // namespace Oxa::System::Rsc::Internal
