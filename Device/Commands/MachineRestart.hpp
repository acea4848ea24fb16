#pragma once

#include "Device/Commands/CommandResult.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

namespace Oxa::Device::Linux::Machine
{
class IWaiter;
}

namespace Oxa::Device::Linux::Commands
{

class SystemBus;
struct CommandTimes;

/// The reboot of the machine by the login manager. Owned by a command, used by its thread only.
class MachineRestart final : private System::Commons::Diagnostics::Logging::Loggable<MachineRestart>
{
public:
    /// Requires: all three outlive the object; a cancelled waiter means that the process stops.
    MachineRestart(SystemBus& bus, Machine::IWaiter& waiter, const CommandTimes& times);

    /// Whether this process may reboot the machine: AccessDenied, NotSupported, or as `SystemBus::Call`.
    CommandResult Check();

    /// Lets a moment pass and reboots. Returns when the process stops; DeviceFault when the machine lives on.
    CommandResult Reboot();

private:
    SystemBus& bus;
    Machine::IWaiter& waiter;
    const CommandTimes& times;
};

} // namespace Oxa::Device::Linux::Commands
