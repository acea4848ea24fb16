#pragma once

#include "Device/Commands/CommandResult.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"

#include <systemd/sd-bus.h>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace Oxa::Device::Linux::Commands
{

struct BusReleaser
{
    void operator()(sd_bus* bus) const noexcept;
    void operator()(sd_bus_message* message) const noexcept;
    void operator()(sd_bus_slot* slot) const noexcept;
};

using BusPointer = std::unique_ptr<sd_bus, BusReleaser>;
using BusMessagePointer = std::unique_ptr<sd_bus_message, BusReleaser>;
using BusSlotPointer = std::unique_ptr<sd_bus_slot, BusReleaser>;

/// The method of a service of the system.
struct BusMethod
{
    const char* service;
    const char* path;
    const char* interface;
    const char* name;
};

/// Null when there was no answer; an error's message comes with its result.
struct BusAnswer
{
    CommandResult result;
    BusMessagePointer message;
};

/// A connection to the system bus that waits for nothing longer than its deadline and for nothing once the process
/// stops. Owned by a command. Threads: only the command's. Nothing it does throws but for want of memory.
class SystemBus final
{
public:
    /// Not open yet. Requires: `stop` outlives the bus.
    SystemBus(const System::Commons::Threading::WakeEvent& stop, std::chrono::milliseconds callTimeout);
    SystemBus(const SystemBus&) = delete;
    SystemBus& operator=(const SystemBus&) = delete;
    ~SystemBus();

    /// NotAvailable when there is no bus, AccessDenied when it is not for this process.
    CommandResult Open();

    /// Calls with the arguments that `types` tells of, each as `sd_bus_message_append` takes it. Requires: is open.
    /// NotAvailable: no such service or no bus any more; AccessDenied; TimedOut: no answer; DeviceFault: other errors.
    template <class... Args>
    [[nodiscard]] BusAnswer Call(const BusMethod& method, const char* types, Args... arguments)
    {
        BusMessagePointer call;
        int result = Make(method, call);
        if constexpr (sizeof...(arguments) > 0)
        {
            result = result < 0 ? result : sd_bus_message_append(call.get(), types, arguments...);
        }
        return Send(method, call.get(), result);
    }

    /// Handles what comes until `isDone`; TimedOut when it is not done by then. Requires: is open.
    CommandResult ProcessUntil(const std::function<bool()>& isDone, std::chrono::milliseconds timeout);

    /// For what else there is to do with it. Requires: is open.
    [[nodiscard]] sd_bus* Get() const noexcept
    {
        return bus.get();
    }

private:
    /// Sets `call`; a negative errno when there is none.
    int Make(const BusMethod& method, BusMessagePointer& call);
    /// `made`: how making the call ended.
    [[nodiscard]] BusAnswer Send(const BusMethod& method, sd_bus_message* call, int made);
    CommandResult AwaitMore(std::chrono::milliseconds timeout) const;

    const System::Commons::Threading::WakeEvent& stop;
    const std::chrono::milliseconds callTimeout;
    BusPointer bus;
};

/// The result that `error`, a positive errno, of an attempt to do `what` ("open the system bus") means.
CommandResult DescribeBusFault(int error, const BasicString& what);

} // namespace Oxa::Device::Linux::Commands
