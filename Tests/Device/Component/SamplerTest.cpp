#include "Device/Component/Sampler.hpp"

#include "Device/FakeMachine.hpp"
#include "Device/FakeSource.hpp"
#include "Support/Eventually.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using Component::Sampler;

TEST(Sampling, HappensOnceAPeriodAndEndsAtOnce)
{
    const FakeMachine machine;
    machine.Write("/proc/stat", "cpu 1 0 0 1\ncpu0 1 0 0 1\n");
    const auto loads = std::make_shared<Sources::CpuLoads>(machine.GetPath("/proc/stat"), "");
    const auto histories = std::make_shared<Items::ItemHistories>(std::make_shared<Items::ItemTable>());
    machine.Write("/proc/stat", "cpu 3 0 0 2\ncpu0 1 0 0 2\n");
    {
        const Sampler sampler(loads, histories, std::chrono::hours(1));
    }
    EXPECT_EQ(loads->GetPercent(0), 50);
    const Sampler sampler(loads, histories, std::chrono::milliseconds(1));
    // The counters do not change from the second sample on.
    EXPECT_TRUE(Support::Eventually([&loads] { return loads->GetPercent(0) == 0; }));
}

TEST(Sampling, TakesTheFirstSampleOfAHistoryAtOnceAndOneInAPeriod)
{
    FakeSensor sensor;
    sensor.Give(uint8(7));
    auto items = std::make_shared<Items::ItemTable>();
    items->Add("A", sensor.MakeSource(), std::nullopt, {{}, {}, true});
    const auto histories = std::make_shared<Items::ItemHistories>(items);
    const auto getLast = [&histories]() -> std::optional<float>
    {
        const int64 now = Items::HistoryClocks::ReadSystemClock();
        const auto history = histories->Read("A", now - 10'000, now, 1);
        return history.points.empty() ? std::nullopt : std::optional(history.points.back().mean);
    };
    {
        const Sampler sampler(nullptr, histories, std::chrono::hours(1));
        EXPECT_TRUE(Support::Eventually([&getLast] { return getLast() == 7.0F; }));
    }
    EXPECT_EQ(sensor.readCount, 1U);
    histories->Sample();
    EXPECT_EQ(sensor.readCount, 1U) << "in the same period";
}

} // namespace Oxa::Tests::Device
