#include "Device/Commands/MachineCommand.hpp"

#include "Device/Commands/UnitRun.hpp"

#include <utility>

namespace Oxa::Device::Linux::Commands
{

MachineCommand::MachineCommand(const System::Commons::Threading::WakeEvent& stop, Machine::IWaiter& waiter,
                               const CommandTimes& times, BasicString resetUnit)
    : times(times), resetUnit(std::move(resetUnit)), bus(stop, times.call), restart(bus, waiter, this->times)
{
}

MachineCommand::~MachineCommand() = default;

CommandResult MachineCommand::Prepare()
{
    CommandResult result = bus.Open();
    if (result.IsSuccess())
    {
        result = restart.Check();
    }
    if (!result.IsSuccess() || resetUnit.empty())
    {
        return result;
    }
    return UnitRun(bus, resetUnit, times).Carry();
}

CommandResult MachineCommand::Complete()
{
    return restart.Reboot();
}

} // namespace Oxa::Device::Linux::Commands
