#include "Device/Sources/SimulatedSource.hpp"

#include "Device/FakeClock.hpp"
#include "Device/FakeTime.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/SimulatedFaultSource.hpp"
#include "Oxa/System/Rsc/Internal/Server/CallContextScope.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <set>
#include <vector>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;
using namespace std::chrono_literals;
using Fault = SimulatedFaultSource::Fault;
using Kind = SimulatedFaultSource::Kind;

namespace
{

BasicString Read(IItemSource& source)
{
    return ToTypedText(source.Read(ReadPass::Begin()).value);
}

std::unique_ptr<SimulatedSource> MakeNumber()
{
    return std::make_unique<SimulatedSource>(ItemValue(int8(45)), "45 °C");
}

std::vector<double> ReadNoise(double amplitude, uint64 seed)
{
    SimulatedSource source(SimulatedSignal::MakeConstant(ItemValue(uint8(10)), "10"), amplitude, seed);
    std::vector<double> numbers(1000);
    for (double& number : numbers)
    {
        const ItemReading reading = source.Read(ReadPass::Begin());
        EXPECT_EQ(reading.value.GetType(), System::Rsc::RscType::Real64);
        reading.value.CopyTo(number);
    }
    return numbers;
}

} // namespace

TEST(SimulatingASignal, GoesOnWithTheClock)
{
    struct Case
    {
        SimulatedSignal signal;
        /// At 0, 1, 2 … seconds.
        std::vector<BasicString> values;
    };

    const Case cases[] = {
        {SimulatedSignal::MakeConstant(ItemValue("Run"), "\"Run\""), {"String Run", "String Run"}},
        {SimulatedSignal::MakeRamp(10, -10, 4s),
         {"Real64 10", "Real64 5", "Real64 0", "Real64 -5", "Real64 10", "Real64 5"}},
        {SimulatedSignal::MakeSine(40, 5, 4s), {"Real64 40", "Real64 45", "Real64 40", "Real64 35", "Real64 40"}},
        {SimulatedSignal::MakeSteps({ItemValue("Run"), ItemValue(true)}, 2s),
         {"String Run", "String Run", "Bool true", "Bool true", "String Run"}},
    };
    for (const auto& [signal, values] : cases)
    {
        FakeClock clock;
        clock.Advance(123456s);
        SimulatedSource source(signal, 0, 0, clock.Get());
        EXPECT_TRUE(source.IsSimulated());
        for (const BasicString& value : values)
        {
            EXPECT_EQ(Read(source), value) << source.Describe();
            clock.Advance(1s);
        }
    }
}

TEST(SimulatingNoise, RepeatsItselfForTheSameSeedOnly)
{
    const std::vector<double> numbers = ReadNoise(2, 7);
    EXPECT_EQ(numbers, ReadNoise(2, 7));
    EXPECT_NE(numbers, ReadNoise(2, 8));
    EXPECT_EQ(std::set<double>(numbers.begin(), numbers.end()).size(), numbers.size());
    const auto [lowest, highest] = std::minmax_element(numbers.begin(), numbers.end());
    EXPECT_GE(*lowest, 8);
    EXPECT_LT(*lowest, 8.1);
    EXPECT_LE(*highest, 12);
    EXPECT_GT(*highest, 11.9);
}

TEST(SimulatingAFault, HitsEveryNthRead)
{
    const std::pair<Fault, std::vector<BasicString>> cases[] = {
        {{Kind::NotSet, {}, 1}, {"NotSet", "NotSet"}},
        {{Kind::NotSet, {}, 3}, {"Int8 45", "Int8 45", "NotSet", "Int8 45", "Int8 45", "NotSet"}},
        {{Kind::WrongType, {}, 2}, {"Int8 45", "String simulated wrong type"}},
        {{Kind::DroppedConnection, {}, 2}, {"Int8 45", "NotSet"}},
    };
    for (const auto& [fault, values] : cases)
    {
        SimulatedFaultSource source(MakeNumber(), fault, nullptr);
        for (const BasicString& value : values)
        {
            EXPECT_EQ(Read(source), value) << source.Describe();
        }
    }
}

TEST(SimulatingAFault, DropsTheConnectionThatTheReadCameOver)
{
    SimulatedFaultSource source(MakeNumber(), {Kind::DroppedConnection, {}, 2}, nullptr);
    const Oxa::System::Rsc::Internal::CallContextScope context(0, 0);
    EXPECT_EQ(Read(source), "Int8 45");
    EXPECT_FALSE(context.IsDropped());
    EXPECT_EQ(Read(source), "NotSet");
    EXPECT_TRUE(context.IsDropped());
}

TEST(SimulatingAFault, DelaysEveryReaderUntilTheTimeIsOverOrCancelled)
{
    FakeTime time;
    const std::shared_ptr<Oxa::Device::Linux::Machine::IWaiter> waiter = time.MakeWaiter();
    SimulatedFaultSource source(MakeNumber(), {Kind::Delay, 2500ms, 1}, waiter);
    auto first = std::async(std::launch::async, [&source] { return Read(source); });
    auto second = std::async(std::launch::async, [&source] { return Read(source); });
    time.AwaitWait(2);
    EXPECT_EQ(time.GetLastDuration(), 2500ms);
    time.Elapse();
    waiter->Cancel();
    EXPECT_EQ(first.get(), "Int8 45");
    EXPECT_EQ(second.get(), "Int8 45");
}

} // namespace Oxa::Tests::Device
