#pragma once

#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <string_view>

namespace Oxa::Device::Linux::Commands
{

/// How a command, or a step of it, ended, with the cause for the log; the cause is empty for None.
struct [[nodiscard]] CommandResult
{
    Interface::Services::AccessErrorCode code = Interface::Services::AccessErrorCode::None;
    BasicString cause;

    [[nodiscard]] bool IsSuccess() const noexcept
    {
        return code == Interface::Services::AccessErrorCode::None;
    }
};

/// What the commands to the device do on this machine; the description defines it. A command without an action is not
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

/// Whether the text is the whole name of a systemd service or target that can be started, an instance of a template
/// included: "oxa-factory-reset.service", "reset@full.service".
[[nodiscard]] bool IsStartableUnitName(std::string_view name) noexcept;

/// How long the parts of a command may take.
struct CommandTimes
{
    /// One call on the system bus, with the connection if there is none yet.
    std::chrono::milliseconds call = std::chrono::seconds(2);
    /// Until the caller gets a response; less than the 10 s after which a caller in another process gives up.
    std::chrono::milliseconds response = std::chrono::seconds(8);
    /// The unit that resets the device.
    std::chrono::milliseconds unit = std::chrono::minutes(10);
    /// Between two reads of the state of a unit that was started and has not ended yet.
    std::chrono::milliseconds unitPoll = std::chrono::milliseconds(200);
    /// From the response to the reboot, so that the caller can pass the response on.
    std::chrono::milliseconds beforeReboot = std::chrono::milliseconds(500);
    /// From the reboot until the machine must have ended this process; longer than units are given to stop.
    std::chrono::milliseconds afterReboot = std::chrono::minutes(3);
    /// A simulated restart.
    std::chrono::milliseconds outage = std::chrono::seconds(3);
    /// From one restart, or the boot of the machine, to the next.
    std::chrono::milliseconds betweenRestarts = std::chrono::minutes(1);
};

} // namespace Oxa::Device::Linux::Commands
