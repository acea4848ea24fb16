#pragma once

#include "Device/Commands/CommandSettings.hpp"
#include "Device/Commands/SystemBus.hpp"

namespace Oxa::Device::Linux::Commands
{

/// Starts one systemd unit and waits until its work has ended, with success or without. The work of a service has ended
/// when none of its processes runs any more, whatever its type is; the work of a target has ended when the target has
/// been reached.
/// NotSupported when there is no such unit. Before the start: Busy when the unit is working already, NotAvailable when
/// it is active, because starting it would do nothing. TimedOut when it takes longer than systemd or
/// `CommandTimes::unit` allows, DeviceFault when it does not succeed, else as `SystemBus::Call`. Requires: the bus is
/// open.
CommandResult RunUnit(SystemBus& bus, const BasicString& unit, const CommandTimes& times);

} // namespace Oxa::Device::Linux::Commands
