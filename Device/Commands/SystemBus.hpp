#pragma once

#include "Device/Commands/CommandSettings.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"

#include <systemd/sd-bus.h>

#include <chrono>
#include <functional>
#include <memory>

namespace Oxa::Device::Linux::Commands
{

struct BusReleaser
{
    void operator()(sd_bus* bus) const noexcept
    {
        sd_bus_close_unref(bus);
    }

    void operator()(sd_bus_message* message) const noexcept
    {
        sd_bus_message_unref(message);
    }

    void operator()(sd_bus_slot* slot) const noexcept
    {
        sd_bus_slot_unref(slot);
    }
};

template <class T>
using BusPointer = std::unique_ptr<T, BusReleaser>;

/// The method of a service of the system.
struct BusMethod
{
    const char* service;
    const char* path;
    const char* interface;
    const char* name;
};

/// The message is null without a response; an error's message comes with its result.
struct BusResponse
{
    CommandResult result;
    BusPointer<sd_bus_message> message;
};

/// A connection to the system bus. Every wait has a deadline and ends when the process stops. Owned by a command.
/// Threads: only the command's. Throws only when memory runs out.
class SystemBus final
{
public:
    /// Not open yet. Requires: `stop` outlives the bus.
    SystemBus(const System::Commons::Threading::WakeEvent& stop, std::chrono::milliseconds callTimeout);

    /// NotAvailable when there is no bus, AccessDenied when this process may not use it.
    CommandResult Open();

    /// Calls with arguments of `types`, each as `sd_bus_message_append` takes it. Requires: is open.
    /// NotAvailable: no such service, or the connection is lost; AccessDenied; TimedOut: no response; DeviceFault:
    /// other errors.
    template <class... Args>
    [[nodiscard]] BusResponse Call(const BusMethod& method, const char* types, Args... arguments)
    {
        BusPointer<sd_bus_message> message;
        sd_bus_slot* pending = nullptr;
        const int sent = sd_bus_call_method_async(bus.get(), &pending, method.service, method.path, method.interface,
                                                  method.name, &KeepMessage, &message, types, arguments...);
        // Without the slot the handler is never called, so that it does not outlive `message`.
        const BusPointer<sd_bus_slot> slot(pending);
        CommandResult result = AwaitResponse(method, sent, message);
        return {std::move(result), std::move(message)};
    }

    /// Handles messages until `isDone`; TimedOut when that takes too long. Requires: is open.
    CommandResult ProcessUntil(const std::function<bool()>& isDone, std::chrono::milliseconds timeout);

    /// For everything else. Requires: is open.
    [[nodiscard]] sd_bus* Get() const noexcept
    {
        return bus.get();
    }

private:
    static int KeepMessage(sd_bus_message* message, void* kept, sd_bus_error* error) noexcept;
    /// `sent`: what sending the call returned.
    CommandResult AwaitResponse(const BusMethod& method, int sent, const BusPointer<sd_bus_message>& message);
    CommandResult AwaitMessage(std::chrono::milliseconds timeout) const;

    const System::Commons::Threading::WakeEvent& stop;
    const std::chrono::milliseconds callTimeout;
    BusPointer<sd_bus> bus;
};

/// The result of a failed `action` ("open the system bus"). `error`: a positive errno.
CommandResult DescribeBusFault(int error, const BasicString& action);

} // namespace Oxa::Device::Linux::Commands
