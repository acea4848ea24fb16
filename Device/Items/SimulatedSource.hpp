#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/SimulatedNoise.hpp"
#include "Device/Items/SimulatedSignal.hpp"
#include "Device/Items/SteadyClock.hpp"

namespace Oxa::Device::Linux::Items
{

/// A made-up value for what the machine has not got. Its time begins with it. Safe from any thread; no lock.
class SimulatedSource final : public IItemSource
{
public:
    explicit SimulatedSource(SimulatedSignal signal, double noiseAmplitude = 0, uint64 noiseSeed = 0,
                             SteadyClock clock = &ReadSteadyClock);

    /// A constant; `meaning`: the value in words, for instance "45 °C".
    SimulatedSource(const ItemValue& value, BasicString meaning);
    ~SimulatedSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
    [[nodiscard]] bool IsSimulated() const noexcept override;

private:
    const SimulatedSignal signal;
    const SteadyClock clock;
    const SteadyTime begin;
    SimulatedNoise noise;
};

} // namespace Oxa::Device::Linux::Items
