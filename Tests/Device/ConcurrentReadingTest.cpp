#include "Device/Commands/DeviceCommands.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/FakeTime.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/MultiReadClient.hpp"
#include "Device/Services/DeviceServices.hpp"
#include "Device/Services/ItemService.hpp"
#include "Device/Sources/CpuLoads.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using Oxa::Device::Interface::Services::AccessErrorCode;

namespace
{

constexpr int threadCount = 4;
constexpr int roundCount = 100;

template <class Body>
void RunInThreads(const Body& body)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number)
    {
        threads.emplace_back(body);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

/// As a multi-item read gives them, each as text with its type.
std::vector<BasicString> ReadTexts(MultiReadClient& client, Services::DeviceStatusService& service)
{
    std::vector<BasicString> texts;
    for (const auto& value : client.Read(service))
    {
        texts.push_back(ToTypedText(value));
    }
    return texts;
}

} // namespace

TEST(ReadingFromManyThreads, GivesEveryOneTheSameValues)
{
    FakeMachine machine;
    machine.BecomePc();
    Description::DescribedMachine described(machine.GetRoot());
    const auto loads = described.GetCpuLoads();
    const auto identity = std::make_shared<Identity::BootIdentity>(machine.GetPath("/proc/sys/kernel/random/boot_id"));
    const std::shared_ptr<const Items::ItemTable> items =
        Description::DeviceDescription::Load(OXA_DESCRIPTIONS "/pc.xml").MakeItems(described);
    Services::DeviceStatusService service(items);
    const Support::LogRecorder log;
    const std::vector<BasicString> keys = {
        "Status.Memory.Usage.Percent.Actual", "Status.UserPartition.Total", "Status.Board.Temperature.Centigrade",
        "Status.System.UpTime.Seconds",       "General.SerialNumber",       "General.Firmware.Version"};
    MultiReadClient single(keys);
    const auto expected = ReadTexts(single, service);

    RunInThreads(
        [&service, &keys, &expected, &loads, &identity]
        {
            MultiReadClient client(keys);
            for (int round = 0; round < roundCount; ++round)
            {
                EXPECT_EQ(ReadTexts(client, service), expected);
                loads->Sample();
                identity->Renew();
                EXPECT_LE(loads->GetPercent(0), 100);
                EXPECT_EQ(identity->Get().size(), 36U);
            }
        });
    EXPECT_EQ(log.GetEntries().size(), 1U) << "the serial number's cause, once";
}

TEST(RestartingFromManyThreads, HappensOnceAtATime)
{
    const Support::LogRecorder log(Oxa::System::Commons::Diagnostics::Logging::LogLevel::Error);
    FakeTime time;
    std::atomic<int> gone = 0;
    using Commands::CommandSettings;
    Commands::DeviceCommands commands({.restart = CommandSettings::RestartAction::Simulate, .factoryResetUnit = {}},
                                      {[&gone] { ++gone; },
                                       [] {
                                       }},
                                      time.MakeWaiter());
    std::atomic<int> accepted = 0;
    RunInThreads(
        [&commands, &accepted]
        {
            for (int round = 0; round < roundCount; ++round)
            {
                accepted += commands.Restart("test") == AccessErrorCode::None ? 1 : 0;
            }
        });
    time.AwaitWait(1);
    RunInThreads([&commands] { commands.Stop(); });
    EXPECT_EQ(accepted, 1);
    EXPECT_EQ(gone, 1);
}

} // namespace Oxa::Tests::Device
