// `mutex` guards all members. It is never held while a listener is called or another lock is taken, so it may be taken
// under any other lock.

#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <algorithm>
#include <cstddef>

namespace Oxa::System::Rsc
{

namespace Internal
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

void ServiceTable::BeginRun(const BasicString& providerName, const BasicString& bootId, const BasicString& buildId)
{
    const MutexLock lock(mutex);
    Provider& provider = providers[providerName];
    const bool isSameRun = !bootId.empty() && provider.run.bootId == bootId && provider.run.buildId == buildId;
    if (!isSameRun)
    {
        provider.run = {++lastEpoch, bootId, buildId};
    }
    provider.isAvailable = true;
}

void ServiceTable::EndRun(const BasicString& providerName) noexcept
{
    const MutexLock lock(mutex);
    const auto provider = providers.find(providerName);
    if (provider != providers.end())
    {
        provider->second.isAvailable = false;
    }
}

RscRun ServiceTable::GetRun(const BasicString& providerName) const
{
    const MutexLock lock(mutex);
    const Provider* const provider = TryFindAvailable(providerName);
    return provider != nullptr ? provider->run : RscRun();
}

uint64 ServiceTable::GetEpoch(const BasicString& providerName) const noexcept
{
    const MutexLock lock(mutex);
    const Provider* const provider = TryFindAvailable(providerName);
    return provider != nullptr ? provider->run.epoch : 0;
}

const ServiceTable::Provider* ServiceTable::TryFindAvailable(const BasicString& providerName) const noexcept
{
    const auto provider = providers.find(providerName);
    return provider != providers.end() && provider->second.isAvailable ? &provider->second : nullptr;
}

/// An entry that is being called stays in the list, so that its iterator stays valid while the lock is released.
void ServiceTable::Report(const BasicString& providerName) noexcept
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

void ServiceTable::AddListener(IRscServiceListener& listener)
{
    const MutexLock lock(mutex);
    listeners.push_back({&listener});
}

void ServiceTable::RemoveListener(IRscServiceListener& listener)
{
    const MutexLock lock(mutex);
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

} // namespace Internal

namespace
{

BasicString GetProviderName(const std::vector<RscRegistration::Service>& services)
{
    using System::Commons::ArgumentException;
    if (services.empty())
    {
        throw ArgumentException::Create("services", services.size(), "A provider has a service");
    }
    BasicString name = services.front().factory.GetServiceProviderName();
    for (const auto& service : services)
    {
        if (!service.implementation || service.factory.GetServiceProviderName() != name)
        {
            throw ArgumentException::Create("services", service.factory.GetServiceInterfaceName(),
                                            "Not an implemented service of the provider '" + name + "'");
        }
    }
    return name;
}

} // namespace

RscRegistration::RscRegistration(BasicString bootId, BasicString buildId, std::vector<Service> services)
    : registration(new Internal::Registration{GetProviderName(services), std::move(bootId), std::move(buildId),
                                              std::move(services)})
{
    auto& table = Internal::ServiceTable::GetInstance();
    for (const Service& service : registration->services)
    {
        registration->slots.push_back(
            table.FindOrCreate(registration->providerName, service.factory.GetServiceInterfaceName()));
    }
    table.Add(registration);
    for (std::size_t index = 0; index < registration->slots.size(); ++index)
    {
        registration->slots[index]->Provide(registration->services[index].implementation);
    }
    table.BeginRun(registration->providerName, registration->bootId, registration->buildId);
    table.Report(registration->providerName);
}

RscRegistration::~RscRegistration()
{
    auto& table = Internal::ServiceTable::GetInstance();
    registration->isWithdrawn = true;
    table.EndRun(registration->providerName);
    for (const auto& slot : registration->slots)
    {
        slot->Provide(nullptr);
    }
    table.Remove(*registration);
    table.Report(registration->providerName);
}

} // namespace Oxa::System::Rsc
