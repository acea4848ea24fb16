#include "Device/Services/DeviceControlService.hpp"

#include <utility>

namespace Oxa::Device::Linux::Services
{

using Interface::Services::AccessErrorCode;
using System::Commons::Diagnostics::Logging::LogLevel;

DeviceControlService::DeviceControlService(std::shared_ptr<ServiceOutage> outage) : outage(std::move(outage)) {}

DeviceControlService::~DeviceControlService() = default;

AccessErrorCode DeviceControlService::Restart()
{
    const AccessErrorCode result = outage->Begin();
    Log(LogLevel::Notice, "Restart (simulated) was asked for: {0}", result);
    return result;
}

AccessErrorCode DeviceControlService::FactoryReset(uint16 resetKind)
{
    const bool isKnown = resetKind == resetToFactoryDefault;
    const AccessErrorCode result = isKnown ? outage->Begin() : AccessErrorCode::NotSupported;
    Log(LogLevel::Notice, "Factory reset (simulated) of kind {0} was asked for: {1}", resetKind, result);
    return result;
}

} // namespace Oxa::Device::Linux::Services
