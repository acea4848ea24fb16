#include "Device/Commands/MachineRestart.hpp"

#include "Device/Commands/UnitRun.hpp"
#include "Device/Machine/IWaiter.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <systemd/sd-bus.h>

#include <string_view>
#include <utility>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;
namespace Text = System::Commons::Text;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr BusMethod MakeMethod(const char* name)
{
    return {"org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", name};
}

CommandResult Judge(std::string_view ability)
{
    if (ability == "yes")
    {
        return {};
    }
    const BasicString cause = Text::Format("whether this process may reboot the machine is answered '{0}'", ability);
    if (ability == "no" || ability == "challenge")
    {
        return {AccessErrorCode::AccessDenied, cause};
    }
    return {ability == "na" ? AccessErrorCode::NotSupported : AccessErrorCode::DeviceFault, cause};
}

} // namespace

MachineRestart::MachineRestart(const System::Commons::Threading::WakeEvent& stop, Machine::IWaiter& waiter,
                               const CommandTimes& times, BasicString resetUnit)
    : waiter(waiter), times(times), resetUnit(std::move(resetUnit)), bus(stop, times.call)
{
}

CommandResult MachineRestart::Prepare()
{
    CommandResult result = bus.Open();
    if (result.IsSuccess())
    {
        result = CheckAbility();
    }
    if (!result.IsSuccess() || resetUnit.empty())
    {
        return result;
    }
    return UnitRun(bus, resetUnit, times).Carry();
}

CommandResult MachineRestart::CheckAbility()
{
    const BusAnswer answer = bus.Call(MakeMethod("CanReboot"), "");
    if (!answer.result.IsSuccess())
    {
        return answer.result;
    }
    const char* ability = nullptr;
    const int result = sd_bus_message_read(answer.message.get(), "s", &ability);
    if (result <= 0)
    {
        return {AccessErrorCode::DeviceFault, "the answer of the login manager is not understood"};
    }
    return Judge(ability);
}

CommandResult MachineRestart::Reboot()
{
    if (!waiter.Wait(times.beforeReboot))
    {
        return {AccessErrorCode::NotAvailable, "the device services were stopped before the reboot"};
    }
    const int isInteractive = 0;
    const BusAnswer answer = bus.Call(MakeMethod("Reboot"), "b", isInteractive);
    if (!answer.result.IsSuccess())
    {
        return answer.result;
    }
    Log(LogLevel::Notice, "The machine reboots");
    if (!waiter.Wait(times.afterReboot))
    {
        return {};
    }
    return {AccessErrorCode::DeviceFault,
            Text::Format("the machine has not rebooted within {0} ms", times.afterReboot.count())};
}

} // namespace Oxa::Device::Linux::Commands
