#include "Device/Sources/SimulatedSource.hpp"

#include "Device/FakeClock.hpp"
#include "Device/ItemValueText.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;
using namespace std::chrono_literals;

namespace
{

BasicString Read(IItemSource& source)
{
    return ToTypedText(source.Read(ReadPass::Begin()).value);
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
        EXPECT_EQ(source.GetSimulation(), Simulation::Always);
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

} // namespace Oxa::Tests::Device
