#include "Device/Commands/DeviceCommands.hpp"

#include "Device/Commands/FakeSystem.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"
#include "Support/Eventually.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/Possessions.hpp"

#include <gmock/gmock.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <future>
#include <memory>
#include <thread>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using namespace Oxa::Device::Linux::Commands;
using Oxa::Device::Interface::Services::AccessErrorCode;
using Oxa::System::Rsc::RscCallContext;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr std::chrono::milliseconds shortTime(50);
constexpr std::chrono::seconds longTime(60);

const CommandSettings realSettings = {CommandSettings::RestartAction::Reboot, CommandSettings::FactoryResetAction::Unit,
                                      "reset.service"};

constexpr std::chrono::milliseconds veryShortTime(1);

/// No reboot, and no end of an outage, while a test lasts.
CommandTimes MakePatientTimes()
{
    CommandTimes times;
    times.beforeReboot = times.outage = longTime;
    return times;
}

/// The commands of one machine.
struct Device
{
    explicit Device(const CommandTimes& times = MakePatientTimes(), const CommandSettings& settings = realSettings)
        : service(settings,
                  {[] {},
                   [] {
                   }},
                  times)
    {
    }

    DeviceCommands service;
};

BasicString RaiseCode(const BasicString& errorName)
{
    return "raise dbus.exceptions.DBusException('because', name='" + errorName + "')";
}

/// A stranger claims that the job is done; systemd tells of the end of another job and then of this one.
BasicString EndJobCode(const BasicString& result)
{
    return "import __main__\n__main__.end_job(self, '" + result + "')";
}

std::ptrdiff_t CountEntries(const Support::LogRecorder& log, const BasicString& text)
{
    const auto entries = log.GetEntries();
    return std::count_if(entries.begin(), entries.end(),
                         [&text](const auto& entry) { return entry.message.find(text) != BasicString::npos; });
}

bool HasEntry(const Support::LogRecorder& log, const BasicString& text)
{
    return CountEntries(log, text) > 0;
}

} // namespace

TEST(RestartingTheMachine, TellsTheCallerWhatTheLoginManagerSays)
{
    const struct
    {
        BasicString code;
        const char* signature;
        AccessErrorCode expected;
    } cases[] = {
        {"ret = 'yes'", "s", AccessErrorCode::None},
        {"ret = 'no'", "s", AccessErrorCode::AccessDenied},
        {"ret = 'challenge'", "s", AccessErrorCode::AccessDenied},
        {"ret = 'na'", "s", AccessErrorCode::NotSupported},
        {"ret = 'perhaps'", "s", AccessErrorCode::DeviceFault},
        {"ret = 1", "u", AccessErrorCode::DeviceFault},
        {"", "", AccessErrorCode::DeviceFault},
        {RaiseCode("org.freedesktop.DBus.Error.AccessDenied"), "s", AccessErrorCode::AccessDenied},
        {RaiseCode("org.freedesktop.DBus.Error.InteractiveAuthorizationRequired"), "s", AccessErrorCode::AccessDenied},
        {RaiseCode("org.freedesktop.DBus.Error.NoReply"), "s", AccessErrorCode::DeviceFault},
        {RaiseCode("org.freedesktop.DBus.Error.Spawn.ChildExited"), "s", AccessErrorCode::NotAvailable},
        {RaiseCode("org.freedesktop.DBus.Error.Failed"), "s", AccessErrorCode::DeviceFault},
    };

    FakeSystem system;
    for (const auto& [code, signature, expected] : cases)
    {
        system.LetLogin("CanReboot", signature, code);
        Device device;
        EXPECT_EQ(device.service.Restart(), expected) << code;
        device.service.Stop();
        EXPECT_EQ(device.service.Restart(), AccessErrorCode::NotAvailable);
    }
    EXPECT_THAT(system.GetCalls(), Not(HasSubstr("Reboot False")));
}

TEST(RestartingTheMachine, EndsWhenWhatItNeedsIsMissingOrSilent)
{
    CommandTimes times;
    times.call = times.response = longTime;
    FakeSystem system;
    Device patient(times);
    times.call = shortTime;
    Device hasty(times);

    kill(system.GetServices().GetNumber(), SIGSTOP);
    EXPECT_EQ(hasty.service.Restart(), AccessErrorCode::DeviceFault);
    kill(system.GetServices().GetNumber(), SIGKILL);
    system.GetServices().Wait();
    EXPECT_EQ(patient.service.Restart(), AccessErrorCode::NotAvailable);

    // A bus that accepts and says nothing.
    kill(system.GetBus().GetNumber(), SIGSTOP);
    EXPECT_EQ(hasty.service.Restart(), AccessErrorCode::DeviceFault);
    // A bus that goes away during the call, and one that is gone.
    auto code = std::async(std::launch::async, [&patient] { return patient.service.Restart(); });
    kill(system.GetBus().GetNumber(), SIGKILL);
    system.GetBus().Wait();
    EXPECT_EQ(code.get(), AccessErrorCode::NotAvailable);
    EXPECT_EQ(patient.service.Restart(), AccessErrorCode::NotAvailable);
}

TEST(RestartingTheMachine, WaitsUntilTheResponseHasBeenSent)
{
    FakeSystem system;
    CommandTimes times;
    times.beforeReboot = veryShortTime;
    Device device(times);
    {
        RscCallContext context(getuid(), 1);
        EXPECT_EQ(device.service.Restart(), AccessErrorCode::None);
        EXPECT_EQ(device.service.FactoryReset(1), AccessErrorCode::Busy);
        // Time enough for a reboot that does not wait.
        for (int round = 0; round < 20; ++round)
        {
            ASSERT_THAT(system.GetCalls(), Not(HasSubstr("\nReboot")));
        }
        context.RunAnswered();
    }
    EXPECT_EQ(system.GetServices().WaitForLine("Reboot"), " False");
    EXPECT_EQ(device.service.Restart(), AccessErrorCode::Busy);
}

TEST(RestartingTheMachine, IsOverWhenItFailsAfterTheResponse)
{
    const Support::LogRecorder log;
    FakeSystem system;
    CommandTimes times;
    times.beforeReboot = times.afterReboot = veryShortTime;
    const std::pair<BasicString, BasicString> cases[] = {
        {RaiseCode("org.freedesktop.DBus.Error.AccessDenied"),
         "restart for this process: access denied: cannot call 'Reboot' of 'org.freedesktop.login1': because "
         "(org.freedesktop.DBus.Error.AccessDenied)"},
        // The machine accepts, and runs on.
        {"", "restart for this process: device fault: the machine has not rebooted within 1 ms"}};
    for (const auto& [code, entry] : cases)
    {
        system.LetLogin("Reboot", "", code);
        Device device(times);
        EXPECT_EQ(device.service.Restart(), AccessErrorCode::None);
        EXPECT_TRUE(HasEntry(log, "restart for this process: success"));
        EXPECT_TRUE(Support::Eventually([&log, &entry = entry] { return HasEntry(log, entry); })) << entry;
        EXPECT_TRUE(Support::Eventually([&device] { return device.service.Restart() != AccessErrorCode::Busy; }));
    }
}

TEST(RestartingTheMachine, DoesNotHappenSoonAfterTheBoot)
{
    const FakeSystem system;
    CommandTimes times;
    times.betweenRestarts = std::chrono::years(100);
    Device device(times);
    EXPECT_EQ(device.service.Restart(), AccessErrorCode::Busy);
    EXPECT_EQ(device.service.FactoryReset(1), AccessErrorCode::Busy);
}

TEST(ResettingTheMachine, TellsTheCallerHowTheUnitEnded)
{
    const std::pair<BasicString, AccessErrorCode> cases[] = {
        {EndJobCode("done"), AccessErrorCode::None},
        {EndJobCode("timeout"), AccessErrorCode::DeviceFault},
        {EndJobCode("dependency"), AccessErrorCode::DeviceFault},
        {EndJobCode("failed"), AccessErrorCode::DeviceFault},
        {EndJobCode("canceled"), AccessErrorCode::DeviceFault},
        {RaiseCode("org.freedesktop.systemd1.NoSuchUnit"), AccessErrorCode::NotSupported},
        {RaiseCode("org.freedesktop.systemd1.UnitMasked"), AccessErrorCode::DeviceFault},
        {RaiseCode("org.freedesktop.DBus.Error.AccessDenied"), AccessErrorCode::AccessDenied},
    };
    FakeSystem system;
    for (const auto& [code, expected] : cases)
    {
        system.LetStartUnit(code);
        Device device;
        EXPECT_EQ(device.service.FactoryReset(1), expected) << code;
        EXPECT_EQ(device.service.FactoryReset(2), AccessErrorCode::NotSupported);
    }
    EXPECT_THAT(system.GetCalls(), HasSubstr("\nSubscribe\nStartUnit \"reset.service\" \"fail\"\n"));
    EXPECT_THAT(system.GetCalls(), Not(HasSubstr("\nReboot")));
}

TEST(ResettingTheMachine, RefusesAUnitThatIsActiveBeforeItIsStarted)
{
    const std::pair<const char*, AccessErrorCode> cases[] = {{"active", AccessErrorCode::NotAvailable},
                                                             {"activating", AccessErrorCode::Busy},
                                                             {"deactivating", AccessErrorCode::Busy}};
    FakeSystem system;
    for (const auto& [active, expected] : cases)
    {
        system.SetUnit(active, "exited", "success");
        Device device;
        EXPECT_EQ(device.service.FactoryReset(1), expected) << active;
    }
    EXPECT_THAT(system.GetCalls(), Not(HasSubstr("StartUnit")));
}

TEST(ResettingTheMachine, WaitsForTheEndOfAUnitThatRunsOnAfterItsStart)
{
    const struct
    {
        std::chrono::milliseconds time;
        const char* active;
        const char* sub;
        const char* result;
        AccessErrorCode expected;
    } ends[] = {
        {2 * shortTime, "active", "running", "success", AccessErrorCode::DeviceFault},
        {longTime, "inactive", "dead", "success", AccessErrorCode::None},
        {longTime, "active", "exited", "success", AccessErrorCode::None},
        {longTime, "failed", "failed", "exit-code", AccessErrorCode::DeviceFault},
        {longTime, "failed", "failed", "timeout", AccessErrorCode::DeviceFault},
        {longTime, "inactive", "dead", "exit-code", AccessErrorCode::DeviceFault},
    };

    const Support::LogRecorder log;
    for (const auto& [time, active, sub, result, expected] : ends)
    {
        FakeSystem system;
        // What has been forked is running when systemd says that the job is done.
        system.LetStartUnit("import __main__\n__main__.set_unit('active', 'running', 'success')\n" +
                            EndJobCode("done"));
        CommandTimes times = MakePatientTimes();
        times.unit = time;
        times.unitPoll = shortTime;
        Device device(times);
        auto code = std::async(std::launch::async, [&device] { return device.service.FactoryReset(1); });
        static_cast<void>(system.GetServices().WaitForLine("StartUnit"));
        system.SetUnit(active, sub, result);
        EXPECT_EQ(code.get(), expected) << active << " " << sub << " " << result;
    }
    EXPECT_TRUE(HasEntry(log, "the unit 'reset.service' is still 'active' (running) after 100 ms"));
}

TEST(ResettingTheMachine, ResetsNothingThatCouldNotBeRestarted)
{
    FakeSystem system;
    system.LetLogin("CanReboot", "s", "ret = 'no'");
    Device device;
    EXPECT_EQ(device.service.FactoryReset(1), AccessErrorCode::AccessDenied);
    EXPECT_THAT(system.GetCalls(), Not(HasSubstr("StartUnit")));
}

TEST(ResettingTheMachine, RestartsAlsoWhenTheUnitTakesLongerThanTheCallerWaits)
{
    CommandTimes times;
    times.response = shortTime;
    times.beforeReboot = veryShortTime;
    FakeSystem system;
    Device device(times);
    EXPECT_EQ(device.service.FactoryReset(1), AccessErrorCode::TimedOut);
    static_cast<void>(system.GetServices().WaitForLine("StartUnit"));
    EXPECT_EQ(device.service.Restart(), AccessErrorCode::Busy);
    EXPECT_THAT(system.GetCalls(), Not(HasSubstr("\nReboot")));
    system.EndJob("/job/7", "done");
    static_cast<void>(system.GetServices().WaitForLine("Reboot"));
}

TEST(ResettingTheMachine, LeavesNothingBehindWhenItIsStopped)
{
    FakeSystem system;
    // Otherwise the first line begins the log's thread, which stays.
    const Support::LogRecorder log;
    const Support::Possessions before;
    {
        Device device;
        before.ExpectSameThreads();
        auto code = std::async(std::launch::async, [&device] { return device.service.FactoryReset(1); });
        static_cast<void>(system.GetServices().WaitForLine("StartUnit"));
        device.service.Stop();
        EXPECT_EQ(code.get(), AccessErrorCode::NotAvailable);

        // The response is never sent.
        const RscCallContext context(getuid(), 1);
        Device unanswered;
        EXPECT_EQ(unanswered.service.Restart(), AccessErrorCode::None);
    }
    before.ExpectSame();
}

TEST(ResettingTheMachine, TakesUnitsFromTheDescriptionOnlyByTheirWholeNames)
{
    const std::pair<BasicString, bool> cases[] = {{"reset.service", true},
                                                  {"reset@all.target", true},
                                                  {"a-b_c:d\\x2d.e.service", true},
                                                  {"", false},
                                                  {".service", false},
                                                  {"reset", false},
                                                  {"reset.socket", false},
                                                  {"reset@.service", false},
                                                  {"@all.service", false},
                                                  {"../x.service", false},
                                                  {"a b.service", false},
                                                  {"a;b.service", false},
                                                  {"a\nb.service", false},
                                                  {BasicString("a\0.service", 10), false},
                                                  {BasicString(248, 'a') + ".service", false},
                                                  {"reset.service\n", false}};
    for (const auto& [name, isStartable] : cases)
    {
        EXPECT_EQ(IsStartableUnitName(name), isStartable) << name;
    }
    CommandSettings settings = realSettings;
    settings.factoryResetUnit = "reset.sh";
    EXPECT_THROW(Device(MakePatientTimes(), settings), Oxa::System::Commons::ArgumentException);
}

TEST(LoggingCommands, IsBoundedForRefusalsAndNotForWhatIsCarriedOut)
{
    const Support::LogRecorder log;
    FakeSystem system;
    system.LetLogin("CanReboot", "s", "ret = 'no'");
    Device device;
    RscCallContext context(0, 0);
    for (int round = 0; round < 20; ++round)
    {
        EXPECT_EQ(device.service.Restart(), AccessErrorCode::AccessDenied);
    }
    EXPECT_EQ(CountEntries(log, "restart for user 'root' (0): access denied"), 20);
    EXPECT_EQ(CountEntries(log, "restart for user 'root' (0): access denied: "), 10);
    system.LetLogin("CanReboot", "s", "ret = 'yes'");
    EXPECT_EQ(device.service.Restart(), AccessErrorCode::None);
    EXPECT_EQ(device.service.FactoryReset(1), AccessErrorCode::Busy);
    EXPECT_TRUE(HasEntry(log, "for user 'root' (0): success"));
    EXPECT_TRUE(HasEntry(log, "for user 'root' (0): busy"));
}

TEST(ChoosingCommands, MixesWhatIsSimulatedAbsentAndReal)
{
    FakeSystem system;
    Device none(MakePatientTimes(), {});
    EXPECT_EQ(none.service.Restart(), AccessErrorCode::NotSupported);
    EXPECT_EQ(none.service.FactoryReset(1), AccessErrorCode::NotSupported);

    CommandSettings settings = realSettings;
    settings.restart = CommandSettings::RestartAction::Simulate;
    Device device(MakePatientTimes(), settings);
    EXPECT_EQ(device.service.Restart(), AccessErrorCode::None);
    EXPECT_EQ(device.service.FactoryReset(1), AccessErrorCode::Busy);
    EXPECT_THAT(system.GetCalls(), Not(HasSubstr("Reboot")));
}

} // namespace Oxa::Tests::Device
