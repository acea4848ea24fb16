#include "Oxa/System/Rsc/Internal/OfferedMethods.hpp"

#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <cerrno>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

OfferedMethods::OfferedMethods(ServerCatalog& catalog, ReceiveFunction receive)
    : catalog(catalog), receive(std::move(receive))
{
}

OfferedMethods::~OfferedMethods() = default;

ServerCatalog OfferedMethods::MakeCatalog()
{
    return {&OnCall, sizeof(Method)};
}

void OfferedMethods::OfferNew(sd_bus& bus)
{
    catalog.Refresh();
    const auto& services = catalog.GetServices();
    while (methods.size() < services.size())
    {
        Offer(bus, services[methods.size()]);
    }
}

void OfferedMethods::OfferWhatIsCalled(sd_bus& bus, sd_bus_message& message)
{
    const char* const path = sd_bus_message_get_path(&message);
    const char* const interface = sd_bus_message_get_interface(&message);
    if (path != nullptr && interface != nullptr && sd_bus_message_is_method_call(&message, nullptr, nullptr) > 0 &&
        !catalog.Contains(path, interface))
    {
        OfferNew(bus);
    }
}

int OfferedMethods::OnFind(sd_bus* /*bus*/, const char* path, const char* /*interface*/, void* methods, void** found,
                           sd_bus_error* /*error*/) noexcept
{
    const ServerCatalog::Service& service = *static_cast<Method*>(methods)->service;
    // sd-bus asks for everything at or below the service's path; nothing is offered below.
    if (service.path != path || !service.slot->IsProvided())
    {
        return 0;
    }
    *found = methods;
    return 1;
}

int OfferedMethods::OnCall(sd_bus_message* message, void* method, sd_bus_error* /*error*/) noexcept
{
    const Method& called = *static_cast<Method*>(method);
    try
    {
        called.owner->receive(*message, *called.service, *called.operation);
        return 1;
    }
    catch (...)
    {
        return -ENOMEM;
    }
}

void OfferedMethods::Offer(sd_bus& bus, const ServerCatalog::Service& service)
{
    auto& ownMethods = methods.emplace_back();
    for (const RscOperation& operation : service.operations)
    {
        ownMethods.push_back({this, &service, &operation});
    }
    const int result = sd_bus_add_fallback_vtable(&bus, nullptr, service.path.c_str(), service.busInterfaceName.c_str(),
                                                  service.vtable.data(), &OnFind, ownMethods.data());
    if (result < 0)
    {
        Log(LogLevel::Error, "the interface '{0}' at '{1}' cannot be offered to other processes: {2}",
            service.busInterfaceName, service.path, std::generic_category().message(-result));
    }
}

} // namespace Oxa::System::Rsc::Internal
