#include "Device/Commands/DeviceCommands.hpp"
#include "Device/FakeTime.hpp"
#include "Device/Services/DeviceControlService.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <future>
#include <memory>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using Oxa::Device::Interface::Services::AccessErrorCode;

namespace
{

class SimulatedRestart : public testing::Test
{
protected:
    Commands::DeviceCommands::OutageActions MakeActions()
    {
        return {[this] { isOffered = false; },
                [this]
                {
                    isOffered = true;
                    back.set_value();
                }};
    }

    void AwaitBack()
    {
        back.get_future().wait();
        back = {};
    }

    FakeTime time;
    std::promise<void> back;
    std::atomic<bool> isOffered = true;
    const std::shared_ptr<Commands::DeviceCommands> commands = std::make_shared<Commands::DeviceCommands>(
        Commands::CommandSettings{Commands::CommandSettings::RestartAction::Simulate,
                                  Commands::CommandSettings::FactoryResetAction::Simulate,
                                  {}},
        MakeActions(), time.MakeWaiter());
    Services::DeviceControlService service{commands};
};

} // namespace

TEST_F(SimulatedRestart, TakesTheServicesAwayAndBringsThemBack)
{
    EXPECT_EQ(service.Restart(), AccessErrorCode::None);
    time.AwaitWait(1);
    EXPECT_FALSE(isOffered);
    EXPECT_EQ(time.GetLastDuration(), std::chrono::seconds(3));
    EXPECT_EQ(service.Restart(), AccessErrorCode::Busy);
    EXPECT_EQ(service.FactoryReset(1), AccessErrorCode::Busy);

    time.Elapse();
    AwaitBack();
    EXPECT_TRUE(isOffered);
}

TEST_F(SimulatedRestart, CanHappenAgain)
{
    for (int round = 1; round <= 3; ++round)
    {
        // Busy until the thread of the round before has said that it is done.
        AccessErrorCode result = AccessErrorCode::Busy;
        while (result == AccessErrorCode::Busy)
        {
            result = service.FactoryReset(1);
        }
        EXPECT_EQ(result, AccessErrorCode::None);
        time.AwaitWait(round);
        time.Elapse();
        AwaitBack();
    }
}

TEST_F(SimulatedRestart, IsNotWhatUnknownResetKindsGet)
{
    const Support::LogRecorder log;
    for (const uint16 kind : {0, 2, 65535})
    {
        EXPECT_EQ(service.FactoryReset(kind), AccessErrorCode::NotSupported) << kind;
    }
    EXPECT_TRUE(isOffered);
    ASSERT_EQ(log.GetEntries().size(), 3U);
    EXPECT_EQ(log.GetEntries()[1].message, "A factory reset of kind 2 was asked for by this process: not supported");
}

TEST_F(SimulatedRestart, EndsAtOnceWhenItIsStopped)
{
    EXPECT_EQ(service.Restart(), AccessErrorCode::None);
    time.AwaitWait(1);
    commands->Stop();
    EXPECT_FALSE(isOffered);
    EXPECT_EQ(service.Restart(), AccessErrorCode::NotAvailable);
}

} // namespace Oxa::Tests::Device
