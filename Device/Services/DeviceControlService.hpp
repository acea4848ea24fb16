#pragma once

#include "Device/Commands/DeviceCommands.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>

namespace Oxa::Device::Linux::Services
{

/// The commands as others call them. Logs who asked for what, and what came of it; refusals within a limit. Safe from
/// several threads.
class DeviceControlService final : public Interface::Services::IDeviceControlService,
                                   private System::Commons::Diagnostics::Logging::Loggable<DeviceControlService>
{
public:
    /// Shares the commands, so that a call under way survives the component's end. Requires: not null.
    explicit DeviceControlService(std::shared_ptr<Commands::DeviceCommands> commands);
    ~DeviceControlService() override;

    /// As `DeviceCommands::Restart`.
    Interface::Services::AccessErrorCode Restart() override;

    /// As `DeviceCommands::FactoryReset`.
    [[nodiscard]] Interface::Services::AccessErrorCode FactoryReset(uint16 resetKind) override;

private:
    void LogOutcome(Interface::Services::AccessErrorCode result, const BasicString& what, const BasicString& caller);

    const std::shared_ptr<Commands::DeviceCommands> commands;
    Commands::RefusalLogRateLimiters logLimits;
};

} // namespace Oxa::Device::Linux::Services
