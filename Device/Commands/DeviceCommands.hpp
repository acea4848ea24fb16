#pragma once

#include "Device/Commands/CommandSettings.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogRateLimiter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>

namespace Oxa::Device::Linux::Commands
{

class SystemBus;

/// Restart and factory reset of the device, one at a time: what the settings choose for each. A command runs on a
/// thread that exists as long as the command. Busy while a command of either kind is under way, and for a minute after
/// one has restarted the device, a reset too, so that commands cannot keep the device from its work; NotAvailable after
/// `Stop`, DeviceFault when no thread can be started. Logs callers and results; refusals within a limit, because
/// callers can cause them at will. Threads: safe from several threads. `Stop` must be called before the objects that
/// the outage's actions use are destroyed; a call that is under way then may outlive the component.
class DeviceCommands final : public Interface::Services::IDeviceControlService,
                             private System::Commons::Diagnostics::Logging::Loggable<DeviceCommands>
{
public:
    using AccessErrorCode = Interface::Services::AccessErrorCode;

    /// What a simulated restart does. Called on the command's thread, one after the other; `offerAgain` not after
    /// `Stop`.
    struct OutageActions
    {
        std::function<void()> withdraw;
        std::function<void()> offerAgain;
    };

    /// Throws ArgumentException when the settings name a unit that cannot be one. Requires: both actions have a target.
    DeviceCommands(CommandSettings newSettings, OutageActions outageActions, const CommandTimes& times = {});
    DeviceCommands(const DeviceCommands&) = delete;
    DeviceCommands& operator=(const DeviceCommands&) = delete;
    ~DeviceCommands() override;

    /// Returns when it is decided whether the restart takes place. It begins after the response to the call that this
    /// thread carries out has been sent. TimedOut only when the decision takes longer than a caller waits: the command
    /// goes on then.
    AccessErrorCode Restart() override;

    /// As `Restart`, which follows the reset.
    [[nodiscard]] AccessErrorCode FactoryReset(uint16 resetKind) override;

    /// Ends a command at once, at any step; an outage without offering the services again. No command can begin
    /// afterwards.
    void Stop() noexcept;

private:
    struct Command
    {
        BasicString title;
        /// Decides the response to the caller; success means that `complete` follows when the response has been sent.
        std::function<CommandResult()> prepare;
        std::function<CommandResult()> complete;
    };

    /// One for each code.
    using LogRateLimiters = std::array<System::Commons::Diagnostics::Logging::LogRateLimiter,
                                       static_cast<std::size_t>(AccessErrorCode::DeviceFault) + 1>;
    using WakeEvent = System::Commons::Threading::WakeEvent;
    using TimePoint = std::chrono::steady_clock::time_point;

    [[nodiscard]] AccessErrorCode RunOutage(BasicString title);
    [[nodiscard]] AccessErrorCode RunReboot(BasicString title, const BasicString& resetUnit);
    CommandResult SimulateRestart();
    CommandResult PrepareReboot(SystemBus& bus, const BasicString& resetUnit);
    CommandResult Reboot(SystemBus& bus);

    [[nodiscard]] AccessErrorCode Run(Command command);
    [[nodiscard]] AccessErrorCode Begin(Command command, std::promise<AccessErrorCode> decision,
                                        const std::shared_ptr<WakeEvent>& responseSent);
    void CarryOut(Command command, std::promise<AccessErrorCode> decision, const WakeEvent& responseSent) noexcept;
    void EndCommand(Command command, std::optional<TimePoint> restart) noexcept;
    [[nodiscard]] static bool Admits(LogRateLimiters& limiters, AccessErrorCode code);
    void LogOutcome(AccessErrorCode code, const BasicString& title);
    void LogFailure(const CommandResult& result, const BasicString& title) const noexcept;

    const CommandSettings settings;
    const OutageActions outageActions;
    const CommandTimes times;
    WakeEvent stop;
    LogRateLimiters outcomeLogs;
    LogRateLimiters failureLogs;

    System::Commons::Mutex mutex;
    bool isBusy OXA_GUARDED_BY(mutex) = false;
    bool isStopped OXA_GUARDED_BY(mutex) = false;
    /// When the device last restarted.
    std::optional<TimePoint> lastRestart OXA_GUARDED_BY(mutex);
    std::thread thread OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Device::Linux::Commands
