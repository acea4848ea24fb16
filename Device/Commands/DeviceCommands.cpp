// A command goes through these states: preparing (its thread runs `prepare`, the caller waits for the decision),
// waiting (until the caller's response has been sent), completing (its thread runs `complete`), ended. A failed
// preparation leads from preparing to ended. `stop` ends every wait of a command. `mutex` guards whether a command is
// under way and when the device last restarted; it is never held while a command runs or anything waits, except for the
// end of a thread that needs it no more.

#include "Device/Commands/DeviceCommands.hpp"

#include "Device/Commands/SystemBus.hpp"
#include "Device/Commands/UnitRun.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"

#include <poll.h>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;
namespace Text = System::Commons::Text;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Threading::WakeEvent;
using System::Rsc::RscCallContext;

namespace
{

constexpr BusMethod MakeLoginMethod(const char* name)
{
    return {"org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", name};
}

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

CommandResult TryRun(const std::function<CommandResult()>& step) noexcept
{
    try
    {
        return step();
    }
    catch (...)
    {
        return {AccessErrorCode::DeviceFault, System::Commons::DescribeCurrentException()};
    }
}

CommandResult JudgeAbility(std::string_view ability)
{
    if (ability == "yes")
    {
        return {};
    }
    const BasicString cause = Text::Format("the login manager returned '{0}' for the ability to reboot", ability);
    if (ability == "no" || ability == "challenge")
    {
        return {AccessErrorCode::AccessDenied, cause};
    }
    return {ability == "na" ? AccessErrorCode::NotSupported : AccessErrorCode::DeviceFault, cause};
}

/// Waits until the other event, if there is one, is set or the time has passed; a negative time is endless. False when
/// `stop` is set.
bool Wait(const WakeEvent& stop, std::chrono::milliseconds duration, const WakeEvent* other = nullptr)
{
    std::array<pollfd, 2> polled = {
        {{stop.GetDescriptor(), POLLIN, 0}, {other != nullptr ? other->GetDescriptor() : -1, POLLIN, 0}}};
    while (poll(polled.data(), polled.size(), static_cast<int>(duration.count())) < 0 && errno == EINTR)
    {
    }
    return polled[0].revents == 0;
}

} // namespace

DeviceCommands::DeviceCommands(CommandSettings newSettings, OutageActions outageActions, const CommandTimes& times)
    : settings(Checked(std::move(newSettings))), outageActions(std::move(outageActions)), times(times)
{
    if (settings.restart == CommandSettings::RestartAction::Reboot ||
        settings.factoryReset == CommandSettings::FactoryResetAction::Unit)
    {
        // The process before the reboot is forgotten, but the clock begins with the boot.
        lastRestart = TimePoint();
    }
}

DeviceCommands::~DeviceCommands()
{
    Stop();
}

AccessErrorCode DeviceCommands::Restart()
{
    const BasicString title = "restart for " + RscCallContext::DescribeCaller();
    AccessErrorCode code = AccessErrorCode::NotSupported;
    if (settings.restart == CommandSettings::RestartAction::Simulate)
    {
        code = RunOutage(title);
    }
    else if (settings.restart == CommandSettings::RestartAction::Reboot)
    {
        code = RunReboot(title, {});
    }
    LogOutcome(code, title);
    return code;
}

AccessErrorCode DeviceCommands::FactoryReset(uint16 resetKind)
{
    const BasicString title =
        Text::Format("factory reset of kind {0} for {1}", resetKind, RscCallContext::DescribeCaller());
    AccessErrorCode code = AccessErrorCode::NotSupported;
    const bool isKnown = resetKind == resetToFactoryDefault;
    if (isKnown && settings.factoryReset == CommandSettings::FactoryResetAction::Simulate)
    {
        code = RunOutage(title);
    }
    else if (isKnown && settings.factoryReset == CommandSettings::FactoryResetAction::Unit)
    {
        code = RunReboot(title, settings.factoryResetUnit);
    }
    LogOutcome(code, title);
    return code;
}

void DeviceCommands::Stop() noexcept
{
    stop.Set();
    std::thread last;
    {
        const MutexLock lock(mutex);
        isStopped = true;
        last.swap(thread);
    }
    if (last.joinable())
    {
        last.join();
    }
}

AccessErrorCode DeviceCommands::RunOutage(BasicString title)
{
    return Run({std::move(title), [] { return CommandResult(); },
                [this]
                {
                    return SimulateRestart();
                }});
}

/// The connection to the system bus lasts as long as the command.
AccessErrorCode DeviceCommands::RunReboot(BasicString title, const BasicString& resetUnit)
{
    const auto bus = std::make_shared<SystemBus>(stop, times.call);
    return Run({std::move(title), [this, bus, resetUnit] { return PrepareReboot(*bus, resetUnit); },
                [this, bus]
                {
                    return Reboot(*bus);
                }});
}

CommandResult DeviceCommands::SimulateRestart()
{
    outageActions.withdraw();
    Log(LogLevel::Notice, "simulated restart: the services are gone for {0} ms", times.outage.count());
    if (Wait(stop, times.outage))
    {
        outageActions.offerAgain();
        Log(LogLevel::Notice, "simulated restart: the services are back");
    }
    return {};
}

/// Nothing is reset on a machine that may not be rebooted.
CommandResult DeviceCommands::PrepareReboot(SystemBus& bus, const BasicString& resetUnit)
{
    if (CommandResult opened = bus.Open(); !opened.IsSuccess())
    {
        return opened;
    }
    const BusResponse response = bus.Call(MakeLoginMethod("CanReboot"), "");
    if (!response.result.IsSuccess())
    {
        return response.result;
    }
    const char* ability = nullptr;
    if (sd_bus_message_read(response.message.get(), "s", &ability) <= 0)
    {
        return {AccessErrorCode::DeviceFault, "the login manager returned an invalid response"};
    }
    CommandResult result = JudgeAbility(ability);
    return result.IsSuccess() && !resetUnit.empty() ? RunUnit(bus, resetUnit, times) : result;
}

/// Returns when the process stops; otherwise the machine did not reboot.
CommandResult DeviceCommands::Reboot(SystemBus& bus)
{
    if (!Wait(stop, times.beforeReboot))
    {
        return {AccessErrorCode::NotAvailable, "the device services were stopped before the reboot"};
    }
    const int isInteractive = 0;
    const BusResponse response = bus.Call(MakeLoginMethod("Reboot"), "b", isInteractive);
    if (!response.result.IsSuccess())
    {
        return response.result;
    }
    Log(LogLevel::Notice, "the machine reboots");
    if (!Wait(stop, times.afterReboot))
    {
        return {};
    }
    return {AccessErrorCode::DeviceFault,
            Text::Format("the machine has not rebooted within {0} ms", times.afterReboot.count())};
}

AccessErrorCode DeviceCommands::Run(Command command)
{
    std::promise<AccessErrorCode> decision;
    auto decided = decision.get_future();
    const auto responseSent = std::make_shared<WakeEvent>();
    const AccessErrorCode refusal = Begin(std::move(command), std::move(decision), responseSent);
    if (refusal != AccessErrorCode::None)
    {
        return refusal;
    }
    const bool isDecided = decided.wait_for(times.response) == std::future_status::ready;
    if (RscCallContext* const context = RscCallContext::TryGetCurrent())
    {
        context->RunAfterAnswer([responseSent] { responseSent->Set(); });
    }
    else
    {
        responseSent->Set();
    }
    return isDecided ? decided.get() : AccessErrorCode::TimedOut;
}

AccessErrorCode DeviceCommands::Begin(Command command, std::promise<AccessErrorCode> decision,
                                      const std::shared_ptr<WakeEvent>& responseSent)
{
    const MutexLock lock(mutex);
    if (isStopped)
    {
        return AccessErrorCode::NotAvailable;
    }
    if (isBusy || (lastRestart && std::chrono::steady_clock::now() - *lastRestart < times.betweenRestarts))
    {
        return AccessErrorCode::Busy;
    }
    // The thread of the previous command needs the mutex no more.
    if (thread.joinable())
    {
        thread.join();
    }
    try
    {
        thread =
            std::thread([this, command = std::move(command), decision = std::move(decision), responseSent]() mutable
                        { CarryOut(std::move(command), std::move(decision), *responseSent); });
    }
    catch (const std::system_error& error)
    {
        Log(LogLevel::Error, "cannot start the thread of a command: {0}", error.what());
        return AccessErrorCode::DeviceFault;
    }
    isBusy = true;
    return AccessErrorCode::None;
}

void DeviceCommands::CarryOut(Command command, std::promise<AccessErrorCode> decision,
                              const WakeEvent& responseSent) noexcept
{
    const BasicString title = command.title;
    CommandResult prepared = TryRun(command.prepare);
    if (!prepared.IsSuccess())
    {
        if (prepared.code == AccessErrorCode::TimedOut)
        {
            // To callers TimedOut means that the command goes on; this one has ended.
            prepared.code = AccessErrorCode::DeviceFault;
        }
        if (Admits(failureLogs, prepared.code))
        {
            LogFailure(prepared, title);
        }
        // Before the caller gets the response, because it may try again at once.
        EndCommand(std::move(command), std::nullopt);
        decision.set_value(prepared.code);
        return;
    }
    std::optional restart = std::chrono::steady_clock::now();
    decision.set_value(prepared.code);
    if (Wait(stop, std::chrono::milliseconds(-1), &responseSent))
    {
        const CommandResult completed = TryRun(command.complete);
        if (!completed.IsSuccess())
        {
            LogFailure(completed, title);
            restart.reset();
        }
    }
    EndCommand(std::move(command), restart);
}

/// What the command holds, a connection for instance, is released before the next one can begin.
void DeviceCommands::EndCommand(Command command, std::optional<TimePoint> restart) noexcept
{
    command = {};
    const MutexLock lock(mutex);
    isBusy = false;
    lastRestart = restart ? restart : lastRestart;
}

/// Always true for success, and for a command that timed out: it goes on.
bool DeviceCommands::Admits(LogRateLimiters& limiters, AccessErrorCode code)
{
    return code == AccessErrorCode::None || code == AccessErrorCode::TimedOut ||
           limiters.at(static_cast<std::size_t>(code)).Admits();
}

void DeviceCommands::LogOutcome(AccessErrorCode code, const BasicString& title)
{
    if (Admits(outcomeLogs, code))
    {
        Log(LogLevel::Notice, "{0}: {1}", title, code);
    }
}

void DeviceCommands::LogFailure(const CommandResult& result, const BasicString& title) const noexcept
{
    Log(LogLevel::Error, "{0}: {1}: {2}", title, result.code, result.cause);
}

} // namespace Oxa::Device::Linux::Commands
