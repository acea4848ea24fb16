#include "Oxa/System/Rsc/ServiceManager.hpp"

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/Client/Endpoint.hpp"
#include "Oxa/System/Rsc/Internal/Client/EndpointWatch.hpp"
#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"
#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"
#include "Oxa/System/Rsc/RscUsageRecorder.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

using Internal::EndpointWatch;
using Internal::ProviderRuns;
using Internal::ServiceTable;
using System::Commons::MutexLock;

namespace
{

/// The endpoints of this process; null without any.
struct Endpoints
{
    System::Commons::Mutex mutex;
    std::unique_ptr<EndpointWatch> watch;
};

Endpoints& GetEndpoints()
{
    // Never destroyed: a proxy may be called to the end.
    static auto& endpoints = *new Endpoints;
    return endpoints;
}

void ReplaceWatch(std::unique_ptr<EndpointWatch> watch)
{
    {
        const MutexLock lock(GetEndpoints().mutex);
        GetEndpoints().watch.swap(watch);
    }
    // The previous one is destroyed here, outside the lock.
}

std::shared_ptr<Internal::Endpoint> TryFindEndpoint(const BasicString& providerName)
{
    const MutexLock lock(GetEndpoints().mutex);
    return GetEndpoints().watch ? GetEndpoints().watch->TryFind(providerName) : nullptr;
}

/// Whether another process provides the slot's service now. From then on the slot leads there.
bool TryReachRemote(RscServiceSlot& slot, IRscServiceProxyFactory& factory)
{
    const auto endpoint = factory.GetOperations().empty() ? nullptr : TryFindEndpoint(slot.GetProviderName());
    if (!endpoint || !endpoint->IsProvided(slot.GetInterfaceName()))
    {
        return false;
    }
    auto remote = factory.CreateRemote(std::make_shared<RscRemoteService>(endpoint, slot.GetInterfaceName()));
    const bool isMade = remote != nullptr;
    slot.SetRemote(std::move(remote));
    return isMade;
}

} // namespace

IRscService* ServiceManager::GetService(const char* providerName, IRscServiceProxyFactory& factory)
{
    auto slot = ServiceTable::GetInstance().FindOrCreate(providerName, factory.GetServiceInterfaceName());
    const bool isThere = slot->IsProvided() || TryReachRemote(*slot, factory);
    // After the connection was made, and before the service can be called.
    RscUsageRecorder::Note(providerName, GetEpoch(providerName));
    return isThere ? factory.CreateProxy(std::move(slot)) : nullptr;
}

void ServiceManager::SetEndpoints(const std::vector<RscEndpointConfiguration>& configurations)
{
    // The previous one must not report a run's end after the next one has reported its beginning.
    ReplaceWatch(nullptr);
    ReplaceWatch(configurations.empty() ? nullptr
                                        : std::make_unique<EndpointWatch>(configurations, ProviderRuns::GetInstance()));
}

void ServiceManager::ResetEndpoints()
{
    ReplaceWatch(nullptr);
}

uint64 ServiceManager::GetEpoch(const BasicString& providerName) noexcept
{
    return ProviderRuns::GetInstance().GetEpoch(providerName);
}

RscRun ServiceManager::GetRun(const BasicString& providerName)
{
    return ProviderRuns::GetInstance().Get(providerName);
}

void ServiceManager::AddListener(IRscServiceListener& listener)
{
    ProviderRuns::GetInstance().AddListener(listener);
}

void ServiceManager::RemoveListener(IRscServiceListener& listener)
{
    ProviderRuns::GetInstance().RemoveListener(listener);
}

} // namespace Oxa::System::Rsc
