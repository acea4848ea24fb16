#include "Device/Commands/DeviceCommands.hpp"

#include "Device/Commands/MachineCommand.hpp"
#include "Device/Commands/UnitName.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <utility>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;
using Interface::Services::IDeviceControlService;

namespace
{

CommandSettings Checked(CommandSettings settings)
{
    if (settings.factoryReset == CommandSettings::FactoryResetAction::Unit &&
        !IsStartableUnitName(settings.factoryResetUnit))
    {
        throw System::Commons::ArgumentException::Create("factoryResetUnit", settings.factoryResetUnit,
                                                         "This is no name of a service or target of systemd");
    }
    return settings;
}

} // namespace

IDeviceCommands::~IDeviceCommands() = default;

DeviceCommands::DeviceCommands(CommandSettings settings, ServiceOutage::Actions outageActions,
                               std::unique_ptr<Machine::IWaiter> waiter, const CommandTimes& times)
    : settings(Checked(std::move(settings))),
      outageActions(std::move(outageActions)),
      times(times),
      waiter(std::move(waiter)),
      runner(times.answer)
{
}

DeviceCommands::~DeviceCommands()
{
    Stop();
}

AccessErrorCode DeviceCommands::Restart(const BasicString& caller)
{
    const BasicString title = "Restart for " + caller;
    switch (settings.restart)
    {
    case CommandSettings::RestartAction::Simulate:
        return RunOutage(title);
    case CommandSettings::RestartAction::Reboot:
        return RunOnMachine(title, {});
    case CommandSettings::RestartAction::None:
        break;
    }
    return AccessErrorCode::NotSupported;
}

AccessErrorCode DeviceCommands::FactoryReset(uint16 resetKind, const BasicString& caller)
{
    if (resetKind != IDeviceControlService::resetToFactoryDefault)
    {
        return AccessErrorCode::NotSupported;
    }
    const BasicString title = "Factory reset for " + caller;
    switch (settings.factoryReset)
    {
    case CommandSettings::FactoryResetAction::Simulate:
        return RunOutage(title);
    case CommandSettings::FactoryResetAction::Unit:
        return RunOnMachine(title, settings.factoryResetUnit);
    case CommandSettings::FactoryResetAction::None:
        break;
    }
    return AccessErrorCode::NotSupported;
}

void DeviceCommands::Stop() noexcept
{
    stop.Set();
    waiter->Cancel();
    runner.Stop();
}

AccessErrorCode DeviceCommands::RunOutage(BasicString title)
{
    return runner.Run(std::make_unique<ServiceOutage>(outageActions, times.outage, *waiter), std::move(title));
}

AccessErrorCode DeviceCommands::RunOnMachine(BasicString title, BasicString resetUnit)
{
    return runner.Run(std::make_unique<MachineCommand>(stop, *waiter, times, std::move(resetUnit)), std::move(title));
}

} // namespace Oxa::Device::Linux::Commands
