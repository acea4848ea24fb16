#include "Device/Commands/DeviceCommands.hpp"
#include "Support/Eventually.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <atomic>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using Oxa::Device::Interface::Services::AccessErrorCode;

namespace
{

/// A device whose restarts last as long as the test says.
struct SimulatedDevice
{
    explicit SimulatedDevice(std::chrono::milliseconds outage, std::chrono::milliseconds betweenRestarts = {})
        : commands({Commands::CommandSettings::RestartAction::Simulate,
                    Commands::CommandSettings::FactoryResetAction::Simulate,
                    {}},
                   {[this] { isOffered = false; },
                    [this]
                    {
                        isOffered = true;
                        ++returnCount;
                    }},
                   {.outage = outage, .betweenRestarts = betweenRestarts})
    {
    }

    std::atomic<bool> isOffered = true;
    std::atomic<int> returnCount = 0;
    Commands::DeviceCommands commands;
};

} // namespace

TEST(SimulatedRestart, TakesTheServicesAwayUntilItIsOverOrStopped)
{
    SimulatedDevice device(std::chrono::hours(1));
    EXPECT_EQ(device.commands.Restart(), AccessErrorCode::None);
    EXPECT_TRUE(Support::Eventually([&device] { return !device.isOffered; }));
    EXPECT_EQ(device.commands.Restart(), AccessErrorCode::Busy);
    EXPECT_EQ(device.commands.FactoryReset(1), AccessErrorCode::Busy);

    device.commands.Stop();
    EXPECT_FALSE(device.isOffered);
    EXPECT_EQ(device.commands.Restart(), AccessErrorCode::NotAvailable);
}

TEST(SimulatedRestart, BringsTheServicesBackAndCanHappenAgain)
{
    SimulatedDevice device(std::chrono::milliseconds(1));
    for (int round = 1; round <= 3; ++round)
    {
        // Busy until the thread of the previous round has ended its command.
        EXPECT_TRUE(
            Support::Eventually([&device] { return device.commands.FactoryReset(1) == AccessErrorCode::None; }));
        EXPECT_TRUE(Support::Eventually([&device, round] { return device.returnCount == round; }));
        EXPECT_TRUE(device.isOffered);
    }
}

TEST(SimulatedRestart, DoesNotHappenTwiceInAShortTime)
{
    SimulatedDevice device(std::chrono::milliseconds(1), std::chrono::hours(1));
    EXPECT_EQ(device.commands.Restart(), AccessErrorCode::None);
    EXPECT_TRUE(Support::Eventually([&device] { return device.returnCount == 1; }));
    EXPECT_EQ(device.commands.Restart(), AccessErrorCode::Busy);
    EXPECT_EQ(device.commands.FactoryReset(1), AccessErrorCode::Busy);
    EXPECT_EQ(device.commands.FactoryReset(2), AccessErrorCode::NotSupported);
    EXPECT_TRUE(device.isOffered);
}

TEST(SimulatedRestart, IsNotWhatUnknownResetKindsGet)
{
    const Support::LogRecorder log;
    SimulatedDevice device(std::chrono::hours(1));
    for (const uint16 kind : {0, 2, 65535})
    {
        EXPECT_EQ(device.commands.FactoryReset(kind), AccessErrorCode::NotSupported) << kind;
    }
    EXPECT_TRUE(device.isOffered);
    ASSERT_EQ(log.GetEntries().size(), 3U);
    EXPECT_EQ(log.GetEntries()[1].message, "factory reset of kind 2 for this process: not supported");
}

} // namespace Oxa::Tests::Device
