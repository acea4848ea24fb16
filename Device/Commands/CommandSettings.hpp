#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Commands
{

/// What the commands to the device do on this machine; the description says it. A command without an action is not
/// supported.
struct CommandSettings
{
    enum class RestartAction
    {
        None,
        /// The services go away for a while.
        Simulate,
        /// The machine is rebooted.
        Reboot
    };

    enum class FactoryResetAction
    {
        None,
        /// As a simulated restart; nothing is reset.
        Simulate,
        /// A systemd unit does it, then the machine is rebooted.
        Unit
    };

    RestartAction restart = RestartAction::None;
    FactoryResetAction factoryReset = FactoryResetAction::None;
    /// For FactoryResetAction::Unit: the whole name, for instance "oxa-factory-reset.service".
    BasicString factoryResetUnit;
};

} // namespace Oxa::Device::Linux::Commands
