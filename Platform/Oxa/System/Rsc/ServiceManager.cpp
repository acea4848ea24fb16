#include "Oxa/System/Rsc/ServiceManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/Endpoint.hpp"
#include "Oxa/System/Rsc/Internal/EndpointTable.hpp"
#include "Oxa/System/Rsc/Internal/SlotTable.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"
#include "Oxa/System/Rsc/RscUsageRecorder.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

using Internal::EndpointTable;
using Internal::SlotTable;

namespace
{

SlotTable& GetSlotTable()
{
    static SlotTable table;
    return table;
}

EndpointTable& GetEndpointTable()
{
    // Never destroyed: whoever holds a proxy to the end may still call it.
    static auto& table = *new EndpointTable;
    return table;
}

/// Whether another process provides the slot's service now. From then on the slot leads there.
bool TryReachRemote(RscServiceSlot& slot, IRscServiceProxyFactory& factory)
{
    if (factory.GetOperations().empty())
    {
        return false;
    }
    const auto endpoint = GetEndpointTable().TryFind(slot.GetProviderName());
    if (!endpoint)
    {
        return false;
    }
    const auto service = std::make_shared<RscRemoteService>(endpoint, slot.GetInterfaceName());
    auto remote = factory.CreateRemote(service);
    if (!remote)
    {
        return false;
    }
    endpoint->NoteRequired(slot.GetInterfaceName());
    slot.SetRemote(std::move(remote));
    if (!service->IsProvided())
    {
        return false;
    }
    if (GetEndpointTable().GetRuns().GetEpoch(slot.GetProviderName()) == 0)
    {
        GetEndpointTable().GetRuns().Begin(slot.GetProviderName(), {}, {});
    }
    return true;
}

BasicString GetProviderName(const std::vector<RscRegistration::Service>& services)
{
    if (services.empty())
    {
        throw System::Commons::ArgumentException::Create("services", services.size(), "A provider has a service");
    }
    BasicString name = services.front().factory.GetServiceProviderName();
    for (const auto& service : services)
    {
        if (!service.implementation || service.factory.GetServiceProviderName() != name)
        {
            throw System::Commons::ArgumentException::Create("services", service.factory.GetServiceInterfaceName(),
                                                             "A service of this provider with an implementation");
        }
    }
    return name;
}

} // namespace

IRscService* ServiceManager::GetService(const char* providerName, IRscServiceProxyFactory& factory)
{
    auto slot = GetSlotTable().FindOrCreate(providerName, factory.GetServiceInterfaceName());
    const bool isThere = slot->IsProvided() || TryReachRemote(*slot, factory);
    // After the connection was made, and before the service can be called.
    RscUsageRecorder::Note(providerName, GetEpoch(providerName));
    return isThere ? factory.CreateProxy(std::move(slot)) : nullptr;
}

void ServiceManager::RegisterService(IRscServiceProxyFactory& factory, std::shared_ptr<IRscService> implementation)
{
    if (!implementation)
    {
        throw System::Commons::ArgumentException::Create("implementation", static_cast<const void*>(nullptr),
                                                         "A provider needs an implementation");
    }
    const auto slot = GetSlotTable().Register(factory);
    slot->Provide(std::move(implementation));
    if (GetSlotTable().IsProviderComplete(slot->GetProviderName()))
    {
        GetEndpointTable().GetRuns().Begin(slot->GetProviderName(), {}, {});
        GetEndpointTable().GetRuns().Report(slot->GetProviderName());
    }
}

void ServiceManager::UnregisterService(IRscServiceProxyFactory& factory)
{
    const auto slot = GetSlotTable().FindOrCreate(factory.GetServiceProviderName(), factory.GetServiceInterfaceName());
    if (slot->IsProvided())
    {
        slot->Provide(nullptr);
        GetEndpointTable().GetRuns().End(slot->GetProviderName());
        GetEndpointTable().GetRuns().Report(slot->GetProviderName());
    }
}

void ServiceManager::SetEndpoints(const std::vector<RscEndpointConfiguration>& configurations)
{
    GetEndpointTable().Set(configurations);
}

void ServiceManager::ResetEndpoints()
{
    GetEndpointTable().Reset();
    GetSlotTable().RemoveUnregistered();
    GetSlotTable().ForEachRegistered([](IRscServiceProxyFactory&, const std::shared_ptr<RscServiceSlot>& slot)
                                     { slot->SetRemote(nullptr); });
}

uint64 ServiceManager::GetEpoch(const BasicString& providerName) noexcept
{
    return GetEndpointTable().GetRuns().GetEpoch(providerName);
}

RscRun ServiceManager::GetRun(const BasicString& providerName)
{
    return GetEndpointTable().GetRuns().Get(providerName);
}

void ServiceManager::AddListener(IRscServiceListener& listener)
{
    GetEndpointTable().AddListener(listener);
}

void ServiceManager::RemoveListener(IRscServiceListener& listener)
{
    GetEndpointTable().RemoveListener(listener);
}

void ServiceManager::ForEachRegistered(
    const std::function<void(IRscServiceProxyFactory& factory, const std::shared_ptr<RscServiceSlot>& slot)>& use)
{
    GetSlotTable().ForEachRegistered(use);
}

RscRegistration::RscRegistration(BasicString bootId, BasicString buildId, std::vector<Service> services)
    : services(std::move(services)), providerName(GetProviderName(this->services))
{
    for (const Service& service : this->services)
    {
        GetSlotTable().Register(service.factory)->Provide(service.implementation);
    }
    GetEndpointTable().GetRuns().Begin(providerName, bootId, buildId);
    GetEndpointTable().GetRuns().Report(providerName);
}

RscRegistration::~RscRegistration()
{
    GetEndpointTable().GetRuns().End(providerName);
    for (const Service& service : services)
    {
        GetSlotTable().Register(service.factory)->Provide(nullptr);
    }
    GetEndpointTable().GetRuns().Report(providerName);
}

} // namespace Oxa::System::Rsc
