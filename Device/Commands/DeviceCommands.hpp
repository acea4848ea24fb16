#pragma once

#include "Device/Commands/CommandRunner.hpp"
#include "Device/Commands/CommandSettings.hpp"
#include "Device/Commands/CommandTimes.hpp"
#include "Device/Commands/IDeviceCommands.hpp"
#include "Device/Commands/ServiceOutage.hpp"
#include "Device/Machine/IWaiter.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"

#include <memory>

namespace Oxa::Device::Linux::Commands
{

/// Carries out, per command, what the settings choose. No thread and no connection exist while no command is under way.
/// Threads: safe from several threads. `Stop` must be called before what the outage's actions touch is destroyed.
class DeviceCommands final : public IDeviceCommands
{
public:
    /// The waiter gives the outage and the time around a reboot. Throws ArgumentException when the settings name a unit
    /// that cannot be one. Requires: both actions have a target, `waiter` is not null.
    DeviceCommands(CommandSettings settings, ServiceOutage::Actions outageActions,
                   std::unique_ptr<Machine::IWaiter> waiter, const CommandTimes& times = {});
    ~DeviceCommands() override;

    [[nodiscard]] Interface::Services::AccessErrorCode Restart(const BasicString& caller) override;
    [[nodiscard]] Interface::Services::AccessErrorCode FactoryReset(uint16 resetKind,
                                                                    const BasicString& caller) override;

    /// Ends a command at once, wherever it is; an outage without offering anything again. None begins any more.
    void Stop() noexcept;

private:
    [[nodiscard]] Interface::Services::AccessErrorCode RunOutage(BasicString title);
    [[nodiscard]] Interface::Services::AccessErrorCode RunOnMachine(BasicString title, BasicString resetUnit);

    const CommandSettings settings;
    const ServiceOutage::Actions outageActions;
    const CommandTimes times;
    const std::unique_ptr<Machine::IWaiter> waiter;
    System::Commons::Threading::WakeEvent stop;
    CommandRunner runner;
};

} // namespace Oxa::Device::Linux::Commands
