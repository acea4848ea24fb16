#include "Oxa/System/Rsc/ServiceManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/Endpoint.hpp"
#include "Oxa/System/Rsc/Internal/EndpointTable.hpp"
#include "Oxa/System/Rsc/Internal/SlotTable.hpp"
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
    return service->IsProvided();
}

} // namespace

IRscService* ServiceManager::GetService(const char* providerName, IRscServiceProxyFactory& factory)
{
    RscUsageRecorder::Note(providerName);
    auto slot = GetSlotTable().FindOrCreate(providerName, factory.GetServiceInterfaceName());
    if (!slot->IsProvided() && !TryReachRemote(*slot, factory))
    {
        RscUsageRecorder::NoteMissing();
        return nullptr;
    }
    return factory.CreateProxy(std::move(slot));
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
        GetEndpointTable().GetListeners().ReportAvailable(slot->GetProviderName());
    }
}

void ServiceManager::UnregisterService(IRscServiceProxyFactory& factory)
{
    const auto slot = GetSlotTable().FindOrCreate(factory.GetServiceProviderName(), factory.GetServiceInterfaceName());
    if (slot->IsProvided())
    {
        slot->Provide(nullptr);
        GetEndpointTable().GetListeners().ReportLost(slot->GetProviderName());
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

} // namespace Oxa::System::Rsc
