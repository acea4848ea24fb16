#pragma once

#include "Device/Commands/CommandResult.hpp"
#include "Device/Commands/CommandSettings.hpp"
#include "Device/Commands/SystemBus.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <chrono>

namespace Oxa::Device::Linux::Commands
{

/// Starts one systemd unit and waits until its work has ended, with success or without. The work of a service has ended
/// when none of its processes runs any more, whatever its type is; the work of a target has ended when the target has
/// been reached. Owned by a command, used by its thread only, once.
class UnitRun final : private System::Commons::Diagnostics::Logging::Loggable<UnitRun>
{
public:
    /// Requires: all three outlive the object.
    UnitRun(SystemBus& bus, const BasicString& unit, const CommandTimes& times);
    UnitRun(const UnitRun&) = delete;
    UnitRun& operator=(const UnitRun&) = delete;
    ~UnitRun();

    /// NotSupported when there is no such unit. Before anything is started: Busy when the unit is at work already,
    /// NotAvailable when it is active, because starting it would do nothing. TimedOut when it takes too long for
    /// systemd or for `CommandTimes::unit`, DeviceFault when it does not succeed, else as `SystemBus::Call`.
    CommandResult Carry();

private:
    /// The unit's job; once it has ended, with how. Its manager is the connection that alone may say so.
    struct Job
    {
        BasicString manager;
        BasicString path;
        BasicString outcome;
    };

    /// How the unit is now, in the words of systemd.
    struct UnitState
    {
        BasicString active;
        BasicString sub;
        BasicString result;
    };

    CommandResult FindUnit();
    CommandResult RefuseWhenActive();
    CommandResult WatchJobs();
    CommandResult StartJob();
    CommandResult AwaitJob();
    CommandResult AwaitEnd();

    [[nodiscard]] bool IsTarget() const noexcept;
    [[nodiscard]] bool HasEnded(const UnitState& state) const noexcept;
    CommandResult ReadState(UnitState& state);
    CommandResult ReadProperty(const char* propertyInterface, const char* property, BasicString& value);
    CommandResult JudgeJob() const;
    CommandResult Judge(const UnitState& state) const;
    [[nodiscard]] BasicString MakeUnknown(const BasicString& cause) const;

    SystemBus& bus;
    const BasicString& unit;
    const CommandTimes& times;
    BasicString unitPath;
    std::chrono::steady_clock::time_point deadline;
    Job job;
    /// Writes into the job.
    BusSlotPointer watch;
};

} // namespace Oxa::Device::Linux::Commands
