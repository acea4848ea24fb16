#include "Device/Sources/CpuLoads.hpp"

#include "Device/FakeClock.hpp"
#include "Device/FakeMachine.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using Sources::CpuLoads;
using Sources::CpuTimes;

namespace
{

std::shared_ptr<CpuLoads> MakeLoads(const FakeMachine& machine, Machine::SteadyClock clock = &Machine::ReadSteadyClock)
{
    return std::make_shared<CpuLoads>(machine.GetPath("/proc/stat"), machine.GetPath("/sys/online"), std::move(clock));
}

using Percents = std::vector<int>;

/// All together, then core by core; -1 for an unknown one.
Percents GetPercents(const CpuLoads& loads)
{
    Percents percents;
    for (std::size_t core = 0; core <= loads.GetCoreCount(); ++core)
    {
        percents.push_back(loads.GetPercent(core) ? *loads.GetPercent(core) : -1);
    }
    return percents;
}

} // namespace

TEST(SamplingLoads, StartsWithTheMeanSinceBootAndThenTellsOfThePeriod)
{
    const FakeMachine machine;
    machine.Write("/proc/stat", "cpu  40 0 20 120 20 0 0 0 9 9\ncpu0 10 5 5 70 10 0 0 0\ncpu1 25 0 15 50 10 0 0 0\n");
    const auto loads = MakeLoads(machine);
    EXPECT_EQ(GetPercents(*loads), (Percents{30, 20, 40}));

    machine.Write("/proc/stat", "cpu  90 0 20 170 20 0 0 0 9 9\ncpu0 60 5 5 70 10 0 0 0\ncpu1 25 0 15 60 50 0 0 0\n");
    loads->Sample();
    EXPECT_EQ(GetPercents(*loads), (Percents{50, 100, 0}));
}

TEST(SamplingLoads, NumbersTheCoresThatAreOnlineAtTheStart)
{
    const FakeMachine machine;
    machine.Write("/proc/stat", "cpu 1 0 0 1\ncpu10 1 0 0 0\ncpu2 0 0 0 1\n");
    const auto loads = MakeLoads(machine);
    EXPECT_EQ(GetPercents(*loads), (Percents{50, 0, 100}));

    machine.Write("/proc/stat", "cpu 2 0 0 1\ncpu3 9 0 0 0\ncpu2 1 0 0 1\n");
    loads->Sample();
    EXPECT_EQ(GetPercents(*loads), (Percents{100, 100, 0}));
}

TEST(SamplingLoads, HasNoValueWhileTheCountersCannotBeRead)
{
    const FakeMachine machine;
    machine.Write("/sys/online", "0-1,4\n");
    FakeClock clock;
    const auto loads = MakeLoads(machine, clock.Get());
    EXPECT_EQ(GetPercents(*loads), (Percents{-1, -1, -1, -1}));
    EXPECT_EQ(loads->GetCause(), "cannot read '" + machine.GetPath("/proc/stat") + "': No such file or directory");

    machine.Write("/proc/stat", "cpu 1 0 0 1\ncpu0 1 0 0 1\ncpu1 1 0 0 1\ncpu4 1 0 0 1\n");
    clock.Advance(std::chrono::seconds(1));
    loads->Sample();
    machine.Write("/proc/stat", "cpu 2 0 0 1\ncpu0 1 0 0 2\ncpu1 2 0 0 2\ncpu4 2 0 0 1\n");
    loads->Sample();
    EXPECT_EQ(GetPercents(*loads), (Percents{100, 0, 50, 100}));
}

TEST(SamplingLoads, CountsNoMoreThan255Cores)
{
    const FakeMachine machine;
    BasicString stat = "cpu 1 0 0 1\n";
    for (int core = 0; core < 300; ++core)
    {
        stat += "cpu" + std::to_string(core) + " 1 0 0 3\n";
    }
    machine.Write("/proc/stat", stat + "cpu300 1 0 0");
    const auto loads = MakeLoads(machine);
    EXPECT_EQ(loads->GetCoreCount(), 255);
    EXPECT_EQ(loads->GetPercent(255), 25);
    EXPECT_EQ(loads->GetPercent(256), std::nullopt);
}

TEST(ComputingLoad, IsNeverNonsense)
{
    struct Case
    {
        CpuTimes before;
        CpuTimes after;
        int percent;
    };

    constexpr uint64 most = ~uint64(0);
    const Case cases[] = {
        {{100, 50}, {200, 100}, 50}, {{100, 50}, {300, 199}, 26}, // 25.5
        {{100, 50}, {100, 50}, 0},                                // no time
        {{100, 50}, {90, 50}, 0},                                 // total backwards
        {{100, 50}, {200, 40}, 100},                              // idle backwards
        {{100, 50}, {110, 70}, 0},                                // busy backwards
        {{0, 0}, {most, 0}, 100},    {{0, 0}, {most, most}, 0},
    };
    for (const auto& [before, after, percent] : cases)
    {
        EXPECT_EQ(Sources::GetLoadPercent(before, after), percent) << after.total << " " << after.idle;
    }
}

TEST(ParsingCpuLines, RefusesEveryOtherLine)
{
    for (const std::string_view line :
         {"", "cpu", "cpu 1 2 3", "cpu0 1 2 3 x", "cpux 1 2 3 4", "cpu-1 1 2 3 4", "cpu0 1 2 3 4 5 -6",
          "cpu0 1 2 3 18446744073709551616", "intr 1 2 3 4", "xcpu0 1 2 3 4"})
    {
        EXPECT_FALSE(Sources::ParseCpuLine(line)) << "line: '" << line << "'";
    }
    EXPECT_EQ(Sources::ParseCpuLine("cpu7 1 2 3 4 5 6 7 8 100 100")->times, (CpuTimes{36, 9}));
}

TEST(ParsingCpuLists, TakesNumbersAndRanges)
{
    const std::pair<std::string_view, std::vector<uint32>> cases[] = {
        {"0", {0}},   {"0-2,5", {0, 1, 2, 5}},       {"", {}}, {"2-1", {}}, {"x", {}}, {"1-", {}},
        {"0,,1", {}}, {"0-4294967295", {0, 1, 2, 3}}};
    for (const auto& [list, numbers] : cases)
    {
        EXPECT_EQ(Sources::ParseCpuList(list, 4), numbers) << "list: '" << list << "'";
    }
}

} // namespace Oxa::Tests::Device
