#include "Oxa/System/Rsc/Internal/Server/OfferedMethods.hpp"

#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <span>
#include <string_view>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// The macros of sd-bus make constant tables only.
std::vector<sd_bus_vtable> MakeVtable(std::span<const RscOperation> operations, sd_bus_message_handler_t handler)
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
        entry.x.method = {operation.name, operation.argumentsSignature, operation.resultsSignature, handler, 0, ""};
    }
    vtable.back().type = _SD_BUS_VTABLE_END;
    return vtable;
}

/// Runs what sd-bus calls back. A negative result makes it respond with that error.
template <class Function>
int Guard(const Function& function) noexcept
{
    try
    {
        function();
        return 1;
    }
    catch (...)
    {
        return -ENOMEM;
    }
}

} // namespace

OfferedMethods::OfferedMethods(ReceiveFunction receive)
    : receive(std::move(receive)), registrations(ServiceTable::GetInstance().GetRegistrations())
{
}

OfferedMethods::~OfferedMethods() = default;

void OfferedMethods::Offer(sd_bus& bus)
{
    static constexpr RscOperation getRuns{getRunsName, RscOperationKind::Read, "", runsSignature, nullptr};
    static const auto runsVtable = MakeVtable({&getRuns, 1}, &OnGetRuns);
    RequireSuccess(sd_bus_add_object_vtable(&bus, nullptr, peerPath, peerInterface, runsVtable.data(), this),
                   "cannot offer the runs");
    for (const auto& registration : registrations)
    {
        for (const auto& service : registration->services)
        {
            OfferService(bus, registration, service);
        }
    }
}

bool OfferedMethods::IsWithdrawn() const noexcept
{
    return std::any_of(registrations.begin(), registrations.end(),
                       [](const auto& registration) { return registration->isWithdrawn.load(); });
}

int OfferedMethods::OnCall(sd_bus_message* message, void* interface, sd_bus_error* /*error*/) noexcept
{
    return Guard(
        [message, interface]
        {
            const Interface& called = *static_cast<Interface*>(interface);
            const auto operations = called.service->factory.GetOperations();
            const std::string_view name = sd_bus_message_get_member(message);
            // sd-bus calls this for the operations only.
            const auto operation = std::find_if(operations.begin(), operations.end(),
                                                [name](const RscOperation& each) { return each.name == name; });
            called.owner.receive(*message, {called.registration, called.service, &*operation});
        });
}

int OfferedMethods::OnGetRuns(sd_bus_message* message, void* methods, sd_bus_error* /*error*/) noexcept
{
    return Guard([message, methods] { static_cast<const OfferedMethods*>(methods)->RespondWithRuns(*message); });
}

void OfferedMethods::OfferService(sd_bus& bus, const std::shared_ptr<const Registration>& registration,
                                  const RscRegistration::Service& service)
{
    const auto operations = service.factory.GetOperations();
    if (operations.empty())
    {
        return;
    }
    try
    {
        Interface& interface = interfaces.emplace_back(
            Interface{*this, registration, &service, GetBusInterfaceName(service.factory.GetServiceInterfaceName()),
                      MakeVtable(operations, &OnCall)});
        RequireSuccess(sd_bus_add_object_vtable(&bus, nullptr, GetObjectPath(registration->providerName).c_str(),
                                                interface.name.c_str(), interface.vtable.data(), &interface),
                       "sd-bus refuses the interface");
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "the service '{0}' of the provider '{1}' cannot be offered to other processes: {2}",
            service.factory.GetServiceInterfaceName(), registration->providerName, exception.what());
    }
}

void OfferedMethods::RespondWithRuns(sd_bus_message& request) const
{
    constexpr const char* failure = "cannot report the runs";
    sd_bus_message* made = nullptr;
    RequireSuccess(sd_bus_message_new_method_return(&request, &made), failure);
    const MessageHandle response(made);
    RequireSuccess(sd_bus_message_open_container(made, SD_BUS_TYPE_ARRAY, runSignature), failure);
    for (const auto& registration : registrations)
    {
        RequireSuccess(sd_bus_message_open_container(made, SD_BUS_TYPE_STRUCT, runMembersSignature), failure);
        RequireSuccess(sd_bus_message_append(made, "sss", registration->providerName.c_str(),
                                             registration->bootId.c_str(), registration->buildId.c_str()),
                       failure);
        RequireSuccess(sd_bus_message_open_container(made, SD_BUS_TYPE_ARRAY, "s"), failure);
        for (const Interface& interface : interfaces)
        {
            if (interface.registration == registration)
            {
                RequireSuccess(sd_bus_message_append(made, "s", interface.name.c_str()), failure);
            }
        }
        RequireSuccess(sd_bus_message_close_container(made), failure);
        RequireSuccess(sd_bus_message_close_container(made), failure);
    }
    RequireSuccess(sd_bus_message_close_container(made), failure);
    RequireSuccess(sd_bus_send(nullptr, made, nullptr), failure);
}

} // namespace Oxa::System::Rsc::Internal
