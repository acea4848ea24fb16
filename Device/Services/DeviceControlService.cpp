#include "Device/Services/DeviceControlService.hpp"

#include "Oxa/System/Rsc/RscCallContext.hpp"

#include <string>
#include <utility>

namespace Oxa::Device::Linux::Services
{

using Interface::Services::AccessErrorCode;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscCallContext;

DeviceControlService::DeviceControlService(std::shared_ptr<Commands::DeviceCommands> commands)
    : commands(std::move(commands))
{
}

DeviceControlService::~DeviceControlService() = default;

AccessErrorCode DeviceControlService::Restart()
{
    const BasicString caller = RscCallContext::DescribeCaller();
    const AccessErrorCode result = commands->Restart(caller);
    LogOutcome(result, "A restart", caller);
    return result;
}

AccessErrorCode DeviceControlService::FactoryReset(uint16 resetKind)
{
    const BasicString caller = RscCallContext::DescribeCaller();
    const AccessErrorCode result = commands->FactoryReset(resetKind, caller);
    LogOutcome(result, "A factory reset of kind " + std::to_string(resetKind), caller);
    return result;
}

void DeviceControlService::LogOutcome(AccessErrorCode result, const BasicString& what, const BasicString& caller)
{
    if (logLimits.Admits(result))
    {
        Log(LogLevel::Notice, "{0} was asked for by {1}: {2}", what, caller, result);
    }
}

} // namespace Oxa::Device::Linux::Services
