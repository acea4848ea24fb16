#pragma once

#include "Device/ServiceOutage.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>

namespace Oxa::Device::Linux::Services
{

/// Simulated commands: a restart is an outage of the services, a factory reset changes nothing but restarts as well.
/// What was asked for and what came of it is logged. Safe from several threads.
class DeviceControlService final : public Interface::Services::IDeviceControlService,
                                   private System::Commons::Diagnostics::Logging::Loggable<DeviceControlService>
{
public:
    /// Shares the outage, so that a call under way survives the component's end. Requires: not null.
    explicit DeviceControlService(std::shared_ptr<ServiceOutage> outage);
    ~DeviceControlService() override;

    /// As `ServiceOutage::Begin`.
    Interface::Services::AccessErrorCode Restart() override;

    /// NotSupported for every kind but `resetToFactoryDefault`; otherwise as `Restart`.
    [[nodiscard]] Interface::Services::AccessErrorCode FactoryReset(uint16 resetKind) override;

private:
    const std::shared_ptr<ServiceOutage> outage;
};

} // namespace Oxa::Device::Linux::Services
