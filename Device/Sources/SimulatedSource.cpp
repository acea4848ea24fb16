#include "Device/Sources/SimulatedSource.hpp"

#include <fmt/format.h>

#include <utility>

namespace Oxa::Device::Linux::Sources
{

SimulatedSource::SimulatedSource(SimulatedSignal signal, double noiseAmplitude, uint64 noiseSeed,
                                 Machine::SteadyClock clock)
    : signal(std::move(signal)), clock(std::move(clock)), begin(this->clock()), noise(noiseAmplitude, noiseSeed)
{
}

SimulatedSource::SimulatedSource(const Items::ItemValue& value, BasicString meaning)
    : SimulatedSource(SimulatedSignal::MakeConstant(value, std::move(meaning)))
{
}

SimulatedSource::~SimulatedSource() = default;

Items::ItemReading SimulatedSource::Read(const Items::ReadPass&)
{
    // What never changes need not know the time.
    const SimulatedSignal::Seconds elapsed = signal.IsConstant() ? SimulatedSignal::Seconds(0) : clock() - begin;
    Items::ItemReading reading = {signal.GetValue(elapsed), {}};
    noise.AddTo(reading.value);
    return reading;
}

BasicString SimulatedSource::Describe() const
{
    const BasicString text = "simulated: " + signal.Describe();
    return noise.GetAmplitude() > 0 ? fmt::format("{}, noise {}", text, noise.GetAmplitude()) : text;
}

bool SimulatedSource::IsSimulated() const noexcept
{
    return true;
}

} // namespace Oxa::Device::Linux::Sources
