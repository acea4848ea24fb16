#include "Device/Commands/UnitRun.hpp"

#include "Device/Commands/CommandTimes.hpp"
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
    for (CommandResult (UnitRun::*const step)() : {&UnitRun::WatchJobs, &UnitRun::StartJob, &UnitRun::AwaitJob})
    {
        CommandResult result = (this->*step)();
        if (!result.IsSuccess())
        {
            return result;
        }
    }
    return Judge();
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
    CommandResult result = bus.ProcessUntil([this] { return !job.outcome.empty(); }, times.unit);
    if (!result.IsSuccess())
    {
        result.cause = Text::Format("how the unit '{0}' ends is not known: {1}", unit, result.cause);
    }
    return result;
}

CommandResult UnitRun::Judge() const
{
    if (job.outcome == "done")
    {
        Log(LogLevel::Notice, "The unit '{0}' has done its work", unit);
        return {};
    }
    return {job.outcome == "timeout" ? AccessErrorCode::TimedOut : AccessErrorCode::DeviceFault,
            Text::Format("the unit '{0}' ended with '{1}'", unit, job.outcome)};
}

} // namespace Oxa::Device::Linux::Commands
