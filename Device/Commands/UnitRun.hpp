#pragma once

#include "Device/Commands/CommandResult.hpp"
#include "Device/Commands/SystemBus.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

namespace Oxa::Device::Linux::Commands
{

struct CommandTimes;

/// Starts one systemd unit and waits until that has succeeded or failed. Owned by a command, used by its thread only,
/// once.
class UnitRun final : private System::Commons::Diagnostics::Logging::Loggable<UnitRun>
{
public:
    /// Requires: all three outlive the object.
    UnitRun(SystemBus& bus, const BasicString& unit, const CommandTimes& times);
    UnitRun(const UnitRun&) = delete;
    UnitRun& operator=(const UnitRun&) = delete;
    ~UnitRun();

    /// NotSupported when there is no such unit, TimedOut when it takes too long for systemd or for
    /// `CommandTimes::unit`, DeviceFault when it does not succeed, else as `SystemBus::Call`.
    CommandResult Carry();

private:
    /// The unit's job; once it has ended, with how. Its manager is the connection that alone may say so.
    struct Job
    {
        BasicString manager;
        BasicString path;
        BasicString outcome;
    };

    CommandResult WatchJobs();
    CommandResult StartJob();
    CommandResult AwaitJob();
    CommandResult Judge() const;

    SystemBus& bus;
    const BasicString& unit;
    const CommandTimes& times;
    Job job;
    /// Writes into the job.
    BusSlotPointer watch;
};

} // namespace Oxa::Device::Linux::Commands
