#pragma once

#include "Device/Commands/CommandResult.hpp"
#include "Device/Commands/CommandSettings.hpp"
#include "Device/Machine/IWaiter.hpp"
#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogRateLimiter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <future>
#include <map>
#include <memory>
#include <thread>

namespace Oxa::Device::Linux::Commands
{

/// Bounds how often refused commands are logged, which callers can cause at will: ten a minute of each code.
/// Threads: safe from several threads.
class RefusalLogRateLimiters final
{
public:
    /// Whether to log a command that ended so. Always true of None, and of TimedOut: such a command may go on.
    [[nodiscard]] bool Admits(Interface::Services::AccessErrorCode code);

private:
    System::Commons::Mutex mutex;
    std::map<Interface::Services::AccessErrorCode, System::Commons::Diagnostics::Logging::LogRateLimiter> limits;
};

/// Restart and factory reset of the device, one at a time: what the settings choose for each. A command runs on a
/// thread that exists as long as the command. Busy while a command of either kind is under way, NotAvailable after
/// `Stop`, DeviceFault when no thread can be started. `caller` says in the log who asked. Threads: safe from several
/// threads. `Stop` must be called before what the outage's actions touch is destroyed.
class DeviceCommands final : private System::Commons::Diagnostics::Logging::Loggable<DeviceCommands>
{
public:
    /// What a simulated restart does. Called on the command's thread, one after the other; `offerAgain` not when `Stop`
    /// comes first.
    struct OutageActions
    {
        std::function<void()> withdraw;
        std::function<void()> offerAgain;
    };

    /// The waiter waits for the end of the outage and around a reboot. Throws ArgumentException when the settings name
    /// a unit that cannot be one. Requires: both actions have a target, `waiter` is not null.
    DeviceCommands(CommandSettings settings, OutageActions outageActions, std::unique_ptr<Machine::IWaiter> waiter,
                   const CommandTimes& times = {});
    DeviceCommands(const DeviceCommands&) = delete;
    DeviceCommands& operator=(const DeviceCommands&) = delete;
    ~DeviceCommands();

    /// Returns when it is decided whether the restart takes place. It begins after the response to the call that this
    /// thread carries out has been sent.
    [[nodiscard]] Interface::Services::AccessErrorCode Restart(const BasicString& caller);

    /// As `Restart`. TimedOut when the reset takes longer than a caller waits: it goes on, and the restart follows.
    [[nodiscard]] Interface::Services::AccessErrorCode FactoryReset(uint16 resetKind, const BasicString& caller);

    /// Ends a command at once, at whatever point it is; an outage without offering anything again. No command begins
    /// any more.
    void Stop() noexcept;

private:
    struct Command
    {
        BasicString title;
        /// Decides the response to the caller; success means that `complete` follows when the response has been sent.
        std::function<CommandResult()> prepare;
        std::function<CommandResult()> complete;
    };

    class ResponseSent;

    [[nodiscard]] Interface::Services::AccessErrorCode RunOutage(BasicString title);
    [[nodiscard]] Interface::Services::AccessErrorCode RunOnMachine(BasicString title, const BasicString& resetUnit);
    [[nodiscard]] CommandResult TakeServicesAway();

    [[nodiscard]] Interface::Services::AccessErrorCode Run(Command command);
    [[nodiscard]] Interface::Services::AccessErrorCode
    Begin(Command command, std::promise<Interface::Services::AccessErrorCode> decision,
          const std::shared_ptr<ResponseSent>& responseSent);
    void CarryOut(Command command, std::promise<Interface::Services::AccessErrorCode> decision,
                  const std::shared_ptr<ResponseSent>& responseSent) noexcept;
    void LogFailure(const BasicString& title, const CommandResult& result) const noexcept;
    void EndCommand(Command command) noexcept;

    const CommandSettings settings;
    const OutageActions outageActions;
    const CommandTimes times;
    const std::unique_ptr<Machine::IWaiter> waiter;
    System::Commons::Threading::WakeEvent stop;
    RefusalLogRateLimiters logLimits;

    System::Commons::Mutex mutex;
    bool isBusy = false;
    bool isStopped = false;
    std::shared_ptr<ResponseSent> currentResponse;
    std::thread thread;
};

} // namespace Oxa::Device::Linux::Commands
