#pragma once

#include "Device/Commands/CommandResult.hpp"
#include "Device/Commands/CommandSettings.hpp"
#include "Device/Commands/SystemBus.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Machine
{
class IWaiter;
}

namespace Oxa::Device::Linux::Commands
{

/// Reboots the machine by the login manager, after a unit has reset it if one is given. Nothing is reset on a machine
/// that may not be rebooted. Owned by a command, used by its thread only; the connection to the system bus lasts as
/// long.
class MachineRestart final : private System::Commons::Diagnostics::Logging::Loggable<MachineRestart>
{
public:
    /// `resetUnit`: empty for a reboot only. Requires: the others outlive the object; a cancelled waiter means that the
    /// process stops.
    MachineRestart(const System::Commons::Threading::WakeEvent& stop, Machine::IWaiter& waiter,
                   const CommandTimes& times, BasicString resetUnit);

    /// Checks whether this process may reboot the machine, then resets it: AccessDenied, NotSupported, or as
    /// `SystemBus::Call` and `UnitRun::Carry`.
    CommandResult Prepare();

    /// Lets a moment pass and reboots. Returns when the process stops; DeviceFault when the machine is still up after
    /// `CommandTimes::afterReboot`.
    CommandResult Reboot();

private:
    CommandResult CheckAbility();

    Machine::IWaiter& waiter;
    const CommandTimes& times;
    const BasicString resetUnit;
    SystemBus bus;
};

} // namespace Oxa::Device::Linux::Commands
