#include "Device/Commands/UnitRun.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <systemd/sd-bus.h>

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

/// The unique name that the bus put there; empty when there is none.
std::string_view GetSender(sd_bus_message* message) noexcept
{
    const char* const sender = sd_bus_message_get_sender(message);
    return sender != nullptr ? sender : std::string_view();
}

} // namespace

UnitRun::UnitRun(SystemBus& bus, const BasicString& unit, const CommandTimes& times)
    : bus(bus), unit(unit), times(times)
{
}

UnitRun::~UnitRun() = default;

CommandResult UnitRun::Carry()
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
    Log(LogLevel::Notice, "The unit '{0}' has done its work", unit);
    return {};
}

CommandResult UnitRun::FindUnit()
{
    const BusAnswer answer = bus.Call({service, path, interface, "LoadUnit"}, "s", unit.c_str());
    if (!answer.result.IsSuccess())
    {
        return answer.result;
    }
    const char* found = nullptr;
    if (sd_bus_message_read(answer.message.get(), "o", &found) <= 0)
    {
        return {AccessErrorCode::DeviceFault, "the answer of systemd is not understood"};
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
    // What is active is not started a second time: systemd would say "done" at once, and nothing would be reset.
    return {
        state.active == "active" ? AccessErrorCode::NotAvailable : AccessErrorCode::Busy,
        Text::Format("the unit '{0}' is '{1}' ({2}) before it is started; it has to be a service that ends, without "
                     "RemainAfterExit=",
                     unit, state.active, state.sub)};
}

CommandResult UnitRun::WatchJobs()
{
    const auto onJobRemoved = [](sd_bus_message* signal, void* userData, sd_bus_error*) noexcept
    {
        uint32 id = 0;
        const char* removedPath = nullptr;
        const char* removedUnit = nullptr;
        const char* result = nullptr;
        Job& watched = *static_cast<Job*>(userData);
        // Anybody on the bus may send a signal to this connection alone; the match does not hold that back.
        if (watched.manager != GetSender(signal))
        {
            return 0;
        }
        const int read = sd_bus_message_read(signal, "uoss", &id, &removedPath, &removedUnit, &result);
        if (read > 0 && watched.path == removedPath)
        {
            watched.outcome = result;
        }
        return 0;
    };
    sd_bus_slot* slot = nullptr;
    // Sent before the unit's start and therefore in force by then.
    const int result = sd_bus_match_signal_async(bus.Get(), &slot, service, path, interface, "JobRemoved", onJobRemoved,
                                                 nullptr, &job);
    watch.reset(slot);
    if (result < 0)
    {
        return DescribeBusFault(-result, "watch the jobs of systemd");
    }
    // Without this systemd does not tell of jobs.
    return bus.Call({service, path, interface, "Subscribe"}, "").result;
}

CommandResult UnitRun::StartJob()
{
    const BusAnswer answer = bus.Call({service, path, interface, "StartUnit"}, "ss", unit.c_str(), "fail");
    if (!answer.result.IsSuccess())
    {
        const bool isUnknown =
            answer.message != nullptr &&
            sd_bus_message_is_method_error(answer.message.get(), "org.freedesktop.systemd1.NoSuchUnit") > 0;
        return isUnknown ? CommandResult{AccessErrorCode::NotSupported, answer.result.cause} : answer.result;
    }
    const char* started = nullptr;
    const std::string_view manager = GetSender(answer.message.get());
    if (manager.empty() || sd_bus_message_read(answer.message.get(), "o", &started) <= 0)
    {
        return {AccessErrorCode::DeviceFault, "the answer of systemd is not understood"};
    }
    job.manager = manager;
    job.path = started;
    Log(LogLevel::Notice, "The unit '{0}' is being started", unit);
    return {};
}

CommandResult UnitRun::AwaitJob()
{
    deadline = Clock::now() + times.unit;
    const CommandResult result = bus.ProcessUntil([this] { return !job.outcome.empty(); }, times.unit);
    return result.IsSuccess() ? JudgeJob() : CommandResult{result.code, MakeUnknown(result.cause)};
}

CommandResult UnitRun::AwaitEnd()
{
    while (true)
    {
        UnitState state;
        const CommandResult read = ReadState(state);
        if (!read.IsSuccess())
        {
            return {read.code, MakeUnknown(read.cause)};
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
        // TimedOut says that the time until the next look is over.
        if (paused.code != AccessErrorCode::TimedOut)
        {
            return {paused.code, MakeUnknown(paused.cause)};
        }
    }
}

bool UnitRun::IsTarget() const noexcept
{
    return unit.ends_with(".target");
}

bool UnitRun::HasEnded(const UnitState& state) const noexcept
{
    // "exited" is how RemainAfterExit=yes leaves a service whose processes have ended.
    return state.active == "inactive" || state.active == "failed" ||
           (state.active == "active" && (IsTarget() || state.sub == "exited"));
}

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
    const BusAnswer answer = bus.Call({service, unitPath.c_str(), "org.freedesktop.DBus.Properties", "Get"}, "ss",
                                      propertyInterface, property);
    if (!answer.result.IsSuccess())
    {
        return answer.result;
    }
    const char* text = nullptr;
    if (sd_bus_message_read(answer.message.get(), "v", "s", &text) <= 0)
    {
        return {AccessErrorCode::DeviceFault,
                Text::Format("what systemd says of '{0}' of the unit '{1}' is not understood", property, unit)};
    }
    value = text;
    return {};
}

CommandResult UnitRun::JudgeJob() const
{
    if (job.outcome == "done")
    {
        return {};
    }
    return {job.outcome == "timeout" ? AccessErrorCode::TimedOut : AccessErrorCode::DeviceFault,
            Text::Format("the unit '{0}' ended with '{1}'", unit, job.outcome)};
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

BasicString UnitRun::MakeUnknown(const BasicString& cause) const
{
    return Text::Format("how the unit '{0}' ends is not known: {1}", unit, cause);
}

} // namespace Oxa::Device::Linux::Commands
