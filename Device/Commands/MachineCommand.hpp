#pragma once

#include "Device/Commands/CommandTimes.hpp"
#include "Device/Commands/ICommand.hpp"
#include "Device/Commands/MachineRestart.hpp"
#include "Device/Commands/SystemBus.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Commands
{

/// Reboots the machine, if a unit is given after that has reset it. Nothing is reset on a machine that may not be
/// rebooted. The connection to the system bus lasts as long as the command.
class MachineCommand final : public ICommand
{
public:
    /// `resetUnit`: empty for a reboot only. Requires: `stop` and `waiter` outlive the command.
    MachineCommand(const System::Commons::Threading::WakeEvent& stop, Machine::IWaiter& waiter,
                   const CommandTimes& times, BasicString resetUnit);
    ~MachineCommand() override;

    CommandResult Prepare() override;
    CommandResult Complete() override;

private:
    const CommandTimes times;
    const BasicString resetUnit;
    SystemBus bus;
    MachineRestart restart;
};

} // namespace Oxa::Device::Linux::Commands
