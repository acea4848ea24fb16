#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"

#include "Oxa/System/Rsc/IRscServiceListener.hpp"

#include <algorithm>
#include <mutex>

namespace Oxa::System::Rsc::Internal
{

ProviderRuns& ProviderRuns::GetInstance()
{
    static auto& runs = *new ProviderRuns;
    return runs;
}

void ProviderRuns::Begin(const BasicString& providerName, const BasicString& bootId, const BasicString& buildId)
{
    const std::lock_guard lock(mutex);
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
    const std::lock_guard lock(mutex);
    const auto provider = providers.find(providerName);
    if (provider != providers.end())
    {
        provider->second.isThere = false;
    }
}

/// An entry that is being called stays in the list, so that its iterator stays valid while the lock is released.
void ProviderRuns::Report(const BasicString& providerName) noexcept
{
    std::unique_lock lock(mutex);
    for (auto entry = listeners.begin(); entry != listeners.end();)
    {
        if (entry->isRemoved)
        {
            ++entry;
            continue;
        }
        ++entry->calls;
        lock.unlock();
        entry->listener->OnEpochChanged(providerName);
        lock.lock();
        const auto called = entry++;
        if (--called->calls == 0)
        {
            returned.notify_all();
        }
    }
}

uint64 ProviderRuns::GetEpoch(const BasicString& providerName) const noexcept
{
    const std::lock_guard lock(mutex);
    const auto provider = providers.find(providerName);
    return provider != providers.end() && provider->second.isThere ? provider->second.run.epoch : 0;
}

RscRun ProviderRuns::Get(const BasicString& providerName) const
{
    const std::lock_guard lock(mutex);
    const auto provider = providers.find(providerName);
    return provider != providers.end() && provider->second.isThere ? provider->second.run : RscRun();
}

void ProviderRuns::AddListener(IRscServiceListener& listener)
{
    const std::lock_guard lock(mutex);
    listeners.push_back({&listener});
}

void ProviderRuns::RemoveListener(IRscServiceListener& listener)
{
    std::unique_lock lock(mutex);
    const auto entry =
        std::find_if(listeners.begin(), listeners.end(),
                     [&listener](const Listener& each) { return each.listener == &listener && !each.isRemoved; });
    if (entry == listeners.end())
    {
        return;
    }
    entry->isRemoved = true;
    returned.wait(lock, [entry] { return entry->calls == 0; });
    listeners.erase(entry);
}

} // namespace Oxa::System::Rsc::Internal
