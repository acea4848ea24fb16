#pragma once

#include "Device/Items/ItemReading.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>

namespace Oxa::Device::Linux::Sources
{

/// What a simulated number is off by: evenly spread between minus and plus the amplitude, another at every read, and
/// the same sequence for the same seed. Safe from any thread; no lock.
class SimulatedNoise final
{
public:
    /// Throws ArgumentException for an amplitude that is negative or not finite. 0: no noise.
    SimulatedNoise(double amplitude, uint64 seed);

    /// Makes a number a Real64 when there is noise; every other value stays as it is.
    void AddTo(Items::ItemValue& value);

    [[nodiscard]] double GetAmplitude() const noexcept;

private:
    [[nodiscard]] double GetNext() noexcept;

    const double amplitude;
    const uint64 seed;
    std::atomic<uint64> count = 0;
};

} // namespace Oxa::Device::Linux::Sources
