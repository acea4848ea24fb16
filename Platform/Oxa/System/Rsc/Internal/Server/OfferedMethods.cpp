#include "Oxa/System/Rsc/Internal/Server/OfferedMethods.hpp"

#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <span>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// The macros of sd-bus make tables of constants only. `handler` is called with the context of the table, moved on by
/// `step` bytes for each operation.
std::vector<sd_bus_vtable> MakeVtable(std::span<const RscOperation> operations, sd_bus_message_handler_t handler,
                                      std::size_t step)
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
        entry.x.method = {
            operation.name, operation.argumentsSignature, operation.resultsSignature, handler, index * step, ""};
    }
    vtable.back().type = _SD_BUS_VTABLE_END;
    return vtable;
}

int AppendRun(sd_bus_message& answer, const Registration& registration, std::vector<char*> interfaceNames)
{
    interfaceNames.push_back(nullptr);
    int result = sd_bus_message_open_container(&answer, SD_BUS_TYPE_STRUCT, runMembersSignature);
    result = result < 0 ? result
                        : sd_bus_message_append(&answer, "sss", registration.providerName.c_str(),
                                                registration.bootId.c_str(), registration.buildId.c_str());
    result = result < 0 ? result : sd_bus_message_append_strv(&answer, interfaceNames.data());
    return result < 0 ? result : sd_bus_message_close_container(&answer);
}

} // namespace

OfferedMethods::OfferedMethods(ReceiveFunction receive) : receive(std::move(receive)) {}

OfferedMethods::~OfferedMethods() = default;

void OfferedMethods::Offer(sd_bus& bus)
{
    static constexpr RscOperation getRuns{getRunsName, RscOperationKind::Read, "", runsSignature, nullptr};
    registrations = ServiceTable::GetInstance().GetRegistrations();
    OfferTable(bus, tables.emplace_back(Table{peerPath, peerInterface, {}, MakeVtable({&getRuns, 1}, &OnGetRuns, 0)}),
               this);
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

int OfferedMethods::OnCall(sd_bus_message* message, void* method, sd_bus_error* /*error*/) noexcept
{
    const Method& called = *static_cast<Method*>(method);
    try
    {
        called.owner->receive(*message, called);
        return 1;
    }
    catch (...)
    {
        return -ENOMEM;
    }
}

int OfferedMethods::OnGetRuns(sd_bus_message* message, void* methods, sd_bus_error* /*error*/) noexcept
{
    try
    {
        return static_cast<const OfferedMethods*>(methods)->AnswerRuns(*message);
    }
    catch (...)
    {
        return -ENOMEM;
    }
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
        Table& table = tables.emplace_back(Table{GetObjectPath(registration->providerName),
                                                 GetBusInterfaceName(service.factory.GetServiceInterfaceName()),
                                                 {},
                                                 MakeVtable(operations, &OnCall, sizeof(Method))});
        for (const RscOperation& operation : operations)
        {
            table.methods.push_back({this, registration, &service, &operation});
        }
        OfferTable(bus, table, table.methods.data());
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "the service '{0}' of the provider '{1}' cannot be offered to other processes: {2}",
            service.factory.GetServiceInterfaceName(), registration->providerName, exception.what());
    }
}

void OfferedMethods::OfferTable(sd_bus& bus, const Table& table, void* context)
{
    const int result = sd_bus_add_object_vtable(&bus, nullptr, table.path.c_str(), table.interfaceName.c_str(),
                                                table.vtable.data(), context);
    if (result < 0)
    {
        Log(LogLevel::Error, "the interface '{0}' at '{1}' cannot be offered to other processes: {2}",
            table.interfaceName, table.path, std::generic_category().message(-result));
    }
}

/// A negative number makes sd-bus answer with that error.
int OfferedMethods::AnswerRuns(sd_bus_message& request) const
{
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_return(&request, &made);
    const MessageHandle answer(made);
    result = result < 0 ? result : sd_bus_message_open_container(made, SD_BUS_TYPE_ARRAY, runSignature);
    for (const auto& registration : registrations)
    {
        std::vector<char*> interfaceNames;
        for (const Table& table : tables)
        {
            if (!table.methods.empty() && table.methods.front().registration == registration)
            {
                // sd-bus does not change them.
                interfaceNames.push_back(const_cast<char*>(table.interfaceName.c_str()));
            }
        }
        result = result < 0 ? result : AppendRun(*made, *registration, std::move(interfaceNames));
    }
    result = result < 0 ? result : sd_bus_message_close_container(made);
    return result < 0 ? result : sd_bus_send(nullptr, made, nullptr);
}

} // namespace Oxa::System::Rsc::Internal
