#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/SteadyClock.hpp"
#include "Device/Sources/SimulatedNoise.hpp"
#include "Device/Sources/SimulatedSignal.hpp"

namespace Oxa::Device::Linux::Sources
{

/// A made-up value for what the machine has not got. Its time begins with it. Safe from any thread; no lock.
class SimulatedSource final : public Items::IItemSource
{
public:
    explicit SimulatedSource(SimulatedSignal signal, double noiseAmplitude = 0, uint64 noiseSeed = 0,
                             Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    /// A constant; `meaning`: the value in words, for instance "45 °C".
    SimulatedSource(const Items::ItemValue& value, BasicString meaning);
    ~SimulatedSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
    [[nodiscard]] bool IsSimulated() const noexcept override;

private:
    const SimulatedSignal signal;
    const Machine::SteadyClock clock;
    const Machine::SteadyTime begin;
    SimulatedNoise noise;
};

} // namespace Oxa::Device::Linux::Sources
