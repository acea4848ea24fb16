#include "Device/Commands/DeviceCommands.hpp"

#include "Device/Commands/MachineRestart.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"

#include <atomic>
#include <exception>
#include <system_error>
#include <utility>

// A command's thread prepares the command, tells the caller's thread the outcome through a promise, waits until the
// response has been sent, and completes the command. `mutex` guards whether a command is under way; it is never held
// while a command runs or anything waits, except for the end of a thread that has nothing left to do.

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;
using Interface::Services::IDeviceControlService;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscCallContext;

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

} // namespace

bool RefusalLogRateLimiters::Admits(AccessErrorCode code)
{
    if (code == AccessErrorCode::None || code == AccessErrorCode::TimedOut)
    {
        return true;
    }
    const MutexLock lock(mutex);
    return limits[code].Admits();
}

/// Shared by the command's thread, which waits, and by the two that can end the wait: the sender of the response, and
/// `Stop`.
class DeviceCommands::ResponseSent final
{
public:
    void Set(bool isSent)
    {
        if (!isSet.test_and_set())
        {
            promise.set_value(isSent);
        }
    }

    /// Once. False when the process stops first.
    [[nodiscard]] bool Await()
    {
        return promise.get_future().get();
    }

private:
    std::atomic_flag isSet;
    std::promise<bool> promise;
};

DeviceCommands::DeviceCommands(CommandSettings settings, OutageActions outageActions,
                               std::unique_ptr<Machine::IWaiter> waiter, const CommandTimes& times)
    : settings(Checked(std::move(settings))),
      outageActions(std::move(outageActions)),
      times(times),
      waiter(std::move(waiter))
{
}

DeviceCommands::~DeviceCommands()
{
    Stop();
}

AccessErrorCode DeviceCommands::Restart(const BasicString& caller)
{
    BasicString title = "Restart for " + caller;
    switch (settings.restart)
    {
    case CommandSettings::RestartAction::Simulate:
        return RunOutage(std::move(title));
    case CommandSettings::RestartAction::Reboot:
        return RunOnMachine(std::move(title), {});
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
    BasicString title = "Factory reset for " + caller;
    switch (settings.factoryReset)
    {
    case CommandSettings::FactoryResetAction::Simulate:
        return RunOutage(std::move(title));
    case CommandSettings::FactoryResetAction::Unit:
        return RunOnMachine(std::move(title), settings.factoryResetUnit);
    case CommandSettings::FactoryResetAction::None:
        break;
    }
    return AccessErrorCode::NotSupported;
}

void DeviceCommands::Stop() noexcept
{
    stop.Set();
    waiter->Cancel();
    std::thread last;
    {
        const MutexLock lock(mutex);
        isStopped = true;
        last.swap(thread);
        if (currentResponse)
        {
            currentResponse->Set(false);
        }
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
                    return TakeServicesAway();
                }});
}

AccessErrorCode DeviceCommands::RunOnMachine(BasicString title, const BasicString& resetUnit)
{
    const auto restart = std::make_shared<MachineRestart>(stop, *waiter, times, resetUnit);
    return Run({std::move(title), [restart] { return restart->Prepare(); },
                [restart]
                {
                    return restart->Reboot();
                }});
}

CommandResult DeviceCommands::TakeServicesAway()
{
    outageActions.withdraw();
    Log(LogLevel::Notice, "Simulated restart: the services are gone for {0} ms", times.outage.count());
    if (waiter->Wait(times.outage))
    {
        outageActions.offerAgain();
        Log(LogLevel::Notice, "Simulated restart: the services are back");
    }
    return {};
}

AccessErrorCode DeviceCommands::Run(Command command)
{
    std::promise<AccessErrorCode> decision;
    auto decided = decision.get_future();
    const auto responseSent = std::make_shared<ResponseSent>();
    const AccessErrorCode refusal = Begin(std::move(command), std::move(decision), responseSent);
    if (refusal != AccessErrorCode::None)
    {
        return refusal;
    }
    const bool isDecided = decided.wait_for(times.answer) == std::future_status::ready;
    if (RscCallContext* const context = RscCallContext::TryGetCurrent())
    {
        context->RunAfterAnswer([responseSent] { responseSent->Set(true); });
    }
    else
    {
        responseSent->Set(true);
    }
    return isDecided ? decided.get() : AccessErrorCode::TimedOut;
}

AccessErrorCode DeviceCommands::Begin(Command command, std::promise<AccessErrorCode> decision,
                                      const std::shared_ptr<ResponseSent>& responseSent)
{
    const MutexLock lock(mutex);
    if (isStopped || isBusy)
    {
        return isStopped ? AccessErrorCode::NotAvailable : AccessErrorCode::Busy;
    }
    // The thread of the command before has nothing left to do that needs the lock.
    if (thread.joinable())
    {
        thread.join();
    }
    try
    {
        thread = std::thread(&DeviceCommands::CarryOut, this, std::move(command), std::move(decision), responseSent);
    }
    catch (const std::system_error& error)
    {
        Log(LogLevel::Error, "Cannot start the thread of a command: {0}", error.what());
        return AccessErrorCode::DeviceFault;
    }
    isBusy = true;
    currentResponse = responseSent;
    return AccessErrorCode::None;
}

void DeviceCommands::CarryOut(Command command, std::promise<AccessErrorCode> decision,
                              const std::shared_ptr<ResponseSent>& responseSent) noexcept
{
    const CommandResult prepared = TryRun(command.prepare);
    if (!prepared.IsSuccess())
    {
        if (logLimits.Admits(prepared.code))
        {
            LogFailure(command.title, prepared);
        }
        // Before the caller is told, which may try again at once.
        EndCommand(std::move(command));
        decision.set_value(prepared.code);
        return;
    }
    decision.set_value(prepared.code);
    if (responseSent->Await())
    {
        const CommandResult completed = TryRun(command.complete);
        if (!completed.IsSuccess())
        {
            LogFailure(command.title, completed);
        }
    }
    EndCommand(std::move(command));
}

void DeviceCommands::LogFailure(const BasicString& title, const CommandResult& result) const noexcept
{
    Log(LogLevel::Error, "{0}: {1}: {2}", title, result.code, result.cause);
}

/// What the command holds, a connection for instance, is gone before the next one can begin.
void DeviceCommands::EndCommand(Command command) noexcept
{
    command = {};
    const MutexLock lock(mutex);
    isBusy = false;
}

} // namespace Oxa::Device::Linux::Commands
