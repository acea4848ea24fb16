#include "Oxa/System/Rsc/ServiceManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/Client/Endpoint.hpp"
#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"

#include <algorithm>
#include <memory>
#include <utility>

namespace Oxa::System::Rsc
{

using Internal::Endpoint;
using Internal::ServiceTable;
using System::Commons::MutexLock;

namespace
{

// GetService is given and has no parameter for it: a module calls it from its own code on the thread that sets it up.
thread_local RscUsageRecorder* currentRecorder = nullptr;

using Endpoints = std::vector<std::shared_ptr<Endpoint>>;

/// The endpoints of this process. They are made and closed without the lock, as both may take time.
struct EndpointTable
{
    System::Commons::Mutex mutex;
    Endpoints endpoints OXA_GUARDED_BY(mutex);
};

EndpointTable& GetTable()
{
    // Never destroyed: a proxy may be called until the process ends.
    static auto& table = *new EndpointTable;
    return table;
}

std::shared_ptr<Endpoint> TryFind(const Endpoints& endpoints, const BasicString& providerName)
{
    const auto found =
        std::find_if(endpoints.begin(), endpoints.end(),
                     [&providerName](const auto& endpoint) { return endpoint->GetProviderName() == providerName; });
    return found == endpoints.end() ? nullptr : *found;
}

std::shared_ptr<Endpoint> TryFindEndpoint(const BasicString& providerName)
{
    EndpointTable& table = GetTable();
    const MutexLock lock(table.mutex);
    return TryFind(table.endpoints, providerName);
}

/// Returns when the previous ones are closed.
void ReplaceEndpoints(Endpoints endpoints)
{
    EndpointTable& table = GetTable();
    {
        const MutexLock lock(table.mutex);
        table.endpoints.swap(endpoints);
    }
    for (const auto& endpoint : endpoints)
    {
        endpoint->Close();
    }
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

IRscServiceListener::~IRscServiceListener() = default;

IRscService* ServiceManager::GetService(const char* providerName, IRscServiceProxyFactory& factory)
{
    auto slot = ServiceTable::GetInstance().FindOrCreate(providerName, factory.GetServiceInterfaceName());
    const bool isProvided = slot->IsProvided() || TryReachRemote(*slot, factory);
    // After the connection was made, and before the service can be called.
    if (currentRecorder != nullptr)
    {
        currentRecorder->epochs.emplace(providerName, GetEpoch(providerName));
    }
    return isProvided ? factory.CreateProxy(std::move(slot)) : nullptr;
}

void ServiceManager::SetEndpoints(const std::vector<RscEndpointConfiguration>& configurations)
{
    // The previous ones must not report a run's end after the next ones have reported its beginning.
    ResetEndpoints();
    Endpoints endpoints;
    for (const auto& configuration : configurations)
    {
        if (std::any_of(endpoints.begin(), endpoints.end(),
                        [&configuration](const auto& endpoint)
                        { return endpoint->GetProviderName() == configuration.providerName; }))
        {
            throw System::Commons::ArgumentException::Create("configurations", configuration.providerName,
                                                             "A provider has one endpoint");
        }
        endpoints.push_back(std::make_shared<Endpoint>(configuration, ServiceTable::GetInstance()));
    }
    ReplaceEndpoints(std::move(endpoints));
}

void ServiceManager::ResetEndpoints()
{
    ReplaceEndpoints({});
}

uint64 ServiceManager::GetEpoch(const BasicString& providerName) noexcept
{
    return ServiceTable::GetInstance().GetEpoch(providerName);
}

RscRun ServiceManager::GetRun(const BasicString& providerName)
{
    return ServiceTable::GetInstance().GetRun(providerName);
}

void ServiceManager::AddListener(IRscServiceListener& listener)
{
    ServiceTable::GetInstance().AddListener(listener);
}

void ServiceManager::RemoveListener(IRscServiceListener& listener)
{
    ServiceTable::GetInstance().RemoveListener(listener);
}

RscUsageRecorder::RscUsageRecorder() noexcept : outer(std::exchange(currentRecorder, this)) {}

RscUsageRecorder::~RscUsageRecorder()
{
    currentRecorder = outer;
}

} // namespace Oxa::System::Rsc
