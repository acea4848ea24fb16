#include "Device/Services/DeviceControlService.hpp"

#include "Oxa/System/Rsc/RscCallContext.hpp"

#include <utility>

namespace Oxa::Device::Linux::Services
{

using Interface::Services::AccessErrorCode;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscCallContext;

DeviceControlService::DeviceControlService(std::shared_ptr<Commands::IDeviceCommands> commands)
    : commands(std::move(commands))
{
}

DeviceControlService::~DeviceControlService() = default;

AccessErrorCode DeviceControlService::Restart()
{
    const BasicString caller = RscCallContext::DescribeCaller();
    const AccessErrorCode result = commands->Restart(caller);
    Log(LogLevel::Notice, "A restart was asked for by {0}: {1}", caller, result);
    return result;
}

AccessErrorCode DeviceControlService::FactoryReset(uint16 resetKind)
{
    const BasicString caller = RscCallContext::DescribeCaller();
    const AccessErrorCode result = commands->FactoryReset(resetKind, caller);
    Log(LogLevel::Notice, "A factory reset of kind {0} was asked for by {1}: {2}", resetKind, caller, result);
    return result;
}

} // namespace Oxa::Device::Linux::Services
