#include "Device/Commands/UnitRun.hpp"

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <systemd/sd-bus.h>

#include <chrono>
#include <string_view>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;
namespace Text = System::Commons::Text;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr const char* service = "org.freedesktop.systemd1";
constexpr const char* path = "/org/freedesktop/systemd1";
constexpr const char* interface = "org.freedesktop.systemd1.Manager";
constexpr const char* unitInterface = "org.freedesktop.systemd1.Unit";
constexpr const char* serviceInterface = "org.freedesktop.systemd1.Service";

using Clock = std::chrono::steady_clock;

/// The unique name that the bus filled in; empty when there is none.
std::string_view GetSender(sd_bus_message* message) noexcept
{
    const char* const sender = sd_bus_message_get_sender(message);
    return sender != nullptr ? sender : std::string_view();
}

} // namespace

/// One run of a unit, used once.
class UnitRun final : private System::Commons::Diagnostics::Logging::Loggable<UnitRun>
{
public:
    UnitRun(SystemBus& bus, const BasicString& unit, const CommandTimes& times) : bus(bus), unit(unit), times(times) {}

    CommandResult Run();

private:
    /// The unit's job, and its result once it has ended. Signals count only from the connection of its manager.
    struct Job
    {
        BasicString manager;
        BasicString path;
        BasicString result;
    };

    /// The unit's state now, in the words of systemd.
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

    static int OnJobRemoved(sd_bus_message* signal, void* watchedJob, sd_bus_error* error) noexcept;

    [[nodiscard]] bool IsTarget() const noexcept
    {
        return unit.ends_with(".target");
    }

    [[nodiscard]] bool HasEnded(const UnitState& state) const noexcept;
    CommandResult ReadState(UnitState& state);
    CommandResult ReadProperty(const char* propertyInterface, const char* property, BasicString& value);
    CommandResult Judge(const UnitState& state) const;
    CommandResult MakeUnknown(const CommandResult& result) const;

    SystemBus& bus;
    const BasicString& unit;
    const CommandTimes& times;
    BasicString unitPath;
    Clock::time_point deadline;
    Job job;
    /// Writes into the job.
    BusPointer<sd_bus_slot> watch;
};

CommandResult UnitRun::Run()
{
    for (CommandResult (UnitRun::*const step)() : {&UnitRun::FindUnit, &UnitRun::RefuseWhenActive, &UnitRun::WatchJobs,
                                                   &UnitRun::StartJob, &UnitRun::AwaitJob, &UnitRun::AwaitEnd})
    {
        CommandResult result = (this->*step)();
        if (!result.IsSuccess())
        {
            return result;
        }
    }
    Log(LogLevel::Notice, "the unit '{0}' has ended successfully", unit);
    return {};
}

CommandResult UnitRun::FindUnit()
{
    const BusResponse response = bus.Call({service, path, interface, "LoadUnit"}, "s", unit.c_str());
    if (!response.result.IsSuccess())
    {
        return response.result;
    }
    const char* found = nullptr;
    if (sd_bus_message_read(response.message.get(), "o", &found) <= 0)
    {
        return {AccessErrorCode::DeviceFault, "systemd returned an invalid response"};
    }
    unitPath = found;
    return {};
}

CommandResult UnitRun::RefuseWhenActive()
{
    UnitState state;
    CommandResult result = ReadState(state);
    if (!result.IsSuccess() || state.active == "inactive" || state.active == "failed")
    {
        return result;
    }
    // An active unit is not started again: systemd would report "done" at once, and nothing would be reset.
    return {
        state.active == "active" ? AccessErrorCode::NotAvailable : AccessErrorCode::Busy,
        Text::Format("the unit '{0}' is '{1}' ({2}) before it is started; it has to be a service that ends, without "
                     "RemainAfterExit=",
                     unit, state.active, state.sub)};
}

CommandResult UnitRun::WatchJobs()
{
    sd_bus_slot* slot = nullptr;
    // Sent before the unit's start, so that it is in force by then.
    const int result = sd_bus_match_signal_async(bus.Get(), &slot, service, path, interface, "JobRemoved",
                                                 &OnJobRemoved, nullptr, &job);
    watch.reset(slot);
    if (result < 0)
    {
        return DescribeBusFault(-result, "watch the jobs of systemd");
    }
    // Without this systemd sends no signals about jobs.
    return bus.Call({service, path, interface, "Subscribe"}, "").result;
}

int UnitRun::OnJobRemoved(sd_bus_message* signal, void* watchedJob, sd_bus_error* /*error*/) noexcept
{
    uint32 id = 0;
    const char* removedPath = nullptr;
    const char* removedUnit = nullptr;
    const char* result = nullptr;
    Job& job = *static_cast<Job*>(watchedJob);
    // Every process on the bus may send a signal to this connection directly; the match does not filter those.
    if (job.manager == GetSender(signal) &&
        sd_bus_message_read(signal, "uoss", &id, &removedPath, &removedUnit, &result) > 0 && job.path == removedPath)
    {
        job.result = result;
    }
    return 0;
}

CommandResult UnitRun::StartJob()
{
    const BusResponse response = bus.Call({service, path, interface, "StartUnit"}, "ss", unit.c_str(), "fail");
    if (!response.result.IsSuccess())
    {
        const bool isUnknown =
            response.message != nullptr &&
            sd_bus_message_is_method_error(response.message.get(), "org.freedesktop.systemd1.NoSuchUnit") > 0;
        return isUnknown ? CommandResult{AccessErrorCode::NotSupported, response.result.cause} : response.result;
    }
    const char* started = nullptr;
    const std::string_view manager = GetSender(response.message.get());
    if (manager.empty() || sd_bus_message_read(response.message.get(), "o", &started) <= 0)
    {
        return {AccessErrorCode::DeviceFault, "systemd returned an invalid response"};
    }
    job.manager = manager;
    job.path = started;
    Log(LogLevel::Notice, "the unit '{0}' is starting", unit);
    return {};
}

CommandResult UnitRun::AwaitJob()
{
    deadline = Clock::now() + times.unit;
    const CommandResult waited = bus.ProcessUntil([this] { return !job.result.empty(); }, times.unit);
    if (!waited.IsSuccess())
    {
        return MakeUnknown(waited);
    }
    if (job.result == "done")
    {
        return {};
    }
    return {job.result == "timeout" ? AccessErrorCode::TimedOut : AccessErrorCode::DeviceFault,
            Text::Format("the job of the unit '{0}' ended with '{1}'", unit, job.result)};
}

CommandResult UnitRun::AwaitEnd()
{
    while (true)
    {
        UnitState state;
        const CommandResult read = ReadState(state);
        if (!read.IsSuccess())
        {
            return MakeUnknown(read);
        }
        if (HasEnded(state))
        {
            return Judge(state);
        }
        if (Clock::now() >= deadline)
        {
            return {AccessErrorCode::TimedOut, Text::Format("the unit '{0}' is still '{1}' ({2}) after {3} ms", unit,
                                                            state.active, state.sub, times.unit.count())};
        }
        const CommandResult paused = bus.ProcessUntil([] { return false; }, times.unitPoll);
        // TimedOut means that it is time for the next read.
        if (paused.code != AccessErrorCode::TimedOut)
        {
            return MakeUnknown(paused);
        }
    }
}

bool UnitRun::HasEnded(const UnitState& state) const noexcept
{
    // "exited" is how RemainAfterExit=yes leaves a service whose processes have ended.
    return state.active == "inactive" || state.active == "failed" ||
           (state.active == "active" && (IsTarget() || state.sub == "exited"));
}

/// One property after the other: less code than two calls for all properties of two interfaces, of which three matter.
/// The order matters: when `active` shows an end, the values read after it belong to the same run.
CommandResult UnitRun::ReadState(UnitState& state)
{
    CommandResult result = ReadProperty(unitInterface, "ActiveState", state.active);
    if (result.IsSuccess())
    {
        result = ReadProperty(unitInterface, "SubState", state.sub);
    }
    if (result.IsSuccess() && !IsTarget())
    {
        result = ReadProperty(serviceInterface, "Result", state.result);
    }
    return result;
}

CommandResult UnitRun::ReadProperty(const char* propertyInterface, const char* property, BasicString& value)
{
    const BusResponse response = bus.Call({service, unitPath.c_str(), "org.freedesktop.DBus.Properties", "Get"}, "ss",
                                          propertyInterface, property);
    if (!response.result.IsSuccess())
    {
        return response.result;
    }
    const char* text = nullptr;
    if (sd_bus_message_read(response.message.get(), "v", "s", &text) <= 0)
    {
        return {AccessErrorCode::DeviceFault,
                Text::Format("systemd returned an invalid property '{0}' of the unit '{1}'", property, unit)};
    }
    value = text;
    return {};
}

CommandResult UnitRun::Judge(const UnitState& state) const
{
    const bool isSuccess = state.active != "failed" && (IsTarget() || state.result == "success");
    if (isSuccess)
    {
        return {};
    }
    return {state.result == "timeout" ? AccessErrorCode::TimedOut : AccessErrorCode::DeviceFault,
            Text::Format("the unit '{0}' ended as '{1}' with the result '{2}'", unit, state.active, state.result)};
}

CommandResult UnitRun::MakeUnknown(const CommandResult& result) const
{
    return {result.code, Text::Format("the result of the unit '{0}' is unknown: {1}", unit, result.cause)};
}

CommandResult RunUnit(SystemBus& bus, const BasicString& unit, const CommandTimes& times)
{
    return UnitRun(bus, unit, times).Run();
}

} // namespace Oxa::Device::Linux::Commands
