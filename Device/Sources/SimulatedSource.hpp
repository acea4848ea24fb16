#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <chrono>
#include <functional>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// A made-up value and its course over time. Computed values are Real64. A value type, safe from any thread; computing
/// a value allocates nothing.
struct SimulatedSignal
{
    using Seconds = std::chrono::duration<double>;

    /// `meaning`: the value in words, for instance "45 °C".
    [[nodiscard]] static SimulatedSignal MakeConstant(const Items::ItemValue& value, const BasicString& meaning);

    /// From `from` towards `to` within a period, then from `from` again. Of all three: Requires: finite numbers, times
    /// above 0, at least one value.
    [[nodiscard]] static SimulatedSignal MakeRamp(double from, double to, Seconds period);
    [[nodiscard]] static SimulatedSignal MakeSine(double mean, double amplitude, Seconds period);

    /// One value after the other, each for the time `hold`, then the first again.
    [[nodiscard]] static SimulatedSignal MakeSteps(std::vector<Items::ItemValue> values, Seconds hold);

    /// By the time since the start, which is not negative.
    std::function<Items::ItemValue(Seconds)> getValue;
    /// For logs, for instance "ramp from 0 to 100 in 60 s".
    BasicString description;
};

/// A made-up value for something that the machine does not have. Its time begins with it. Noise makes a Real64 of every
/// number: evenly spread between minus and plus the amplitude, another at every read, the same sequence for the same
/// seed. Safe from any thread; no lock.
class SimulatedSource final : public Items::IItemSource
{
public:
    /// Requires: the amplitude is finite and not negative; 0: no noise.
    explicit SimulatedSource(SimulatedSignal signal, double noiseAmplitude = 0, uint64 noiseSeed = 0,
                             Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
    [[nodiscard]] Items::Simulation GetSimulation() const noexcept override;
    [[nodiscard]] Items::ItemOrigin GetOrigin() const noexcept override;

private:
    [[nodiscard]] double GetNextNoise() noexcept;

    const SimulatedSignal signal;
    const double noiseAmplitude;
    const uint64 noiseSeed;
    const Machine::SteadyClock clock;
    const Machine::SteadyTime begin;
    std::atomic<uint64> noiseCount = 0;
};

} // namespace Oxa::Device::Linux::Sources
