#include "Oxa/System/Rsc/Internal/ServerCatalog.hpp"

#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <algorithm>
#include <exception>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

ServerCatalog::ServerCatalog(sd_bus_message_handler_t handler, std::size_t handlerStep) noexcept
    : handler(handler), handlerStep(handlerStep)
{
}

void ServerCatalog::Refresh()
{
    ServiceManager::ForEachRegistered(
        [this](IRscServiceProxyFactory& factory, const std::shared_ptr<RscServiceSlot>& slot)
        {
            if (seenSlots.insert(slot.get()).second)
            {
                Add(factory, slot);
            }
        });
}

bool ServerCatalog::Contains(std::string_view path, std::string_view busInterfaceName) const noexcept
{
    return std::any_of(services.begin(), services.end(),
                       [path, busInterfaceName](const Service& service)
                       { return service.busInterfaceName == busInterfaceName && service.path == path; });
}

void ServerCatalog::Add(IRscServiceProxyFactory& factory, const std::shared_ptr<RscServiceSlot>& slot)
{
    const auto operations = factory.GetOperations();
    if (operations.empty())
    {
        return;
    }
    try
    {
        services.push_back({GetObjectPath(slot->GetProviderName()), GetBusInterfaceName(slot->GetInterfaceName()), slot,
                            operations, MakeVtable(operations)});
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "the service '{0}' of the provider '{1}' cannot be offered to other processes: {2}",
            slot->GetInterfaceName(), slot->GetProviderName(), exception.what());
    }
}

// The macros of sd-bus make tables of constants only.
std::vector<sd_bus_vtable> ServerCatalog::MakeVtable(std::span<const RscOperation> operations) const
{
    std::vector<sd_bus_vtable> vtable(operations.size() + 2);
    vtable.front().type = _SD_BUS_VTABLE_START;
    vtable.front().x.start = {sizeof(sd_bus_vtable), _SD_BUS_VTABLE_PARAM_NAMES, &sd_bus_object_vtable_format};
    for (std::size_t index = 0; index < operations.size(); ++index)
    {
        const RscOperation& operation = operations[index];
        sd_bus_vtable& entry = vtable[index + 1];
        entry.type = _SD_BUS_VTABLE_METHOD;
        entry.flags = SD_BUS_VTABLE_UNPRIVILEGED;
        entry.x.method = {operation.name, operation.argumentsSignature, operation.resultsSignature,
                          handler,        index * handlerStep,          ""};
    }
    vtable.back().type = _SD_BUS_VTABLE_END;
    return vtable;
}

} // namespace Oxa::System::Rsc::Internal
