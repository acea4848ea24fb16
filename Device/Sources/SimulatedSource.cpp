#include "Device/Sources/SimulatedSource.hpp"

#include "Device/Items/ItemConversion.hpp"

#include <fmt/format.h>

#include <cassert>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using Items::ItemValue;
using Seconds = SimulatedSignal::Seconds;
using System::Rsc::RscType;

namespace
{

/// The elapsed part of the current period, from 0 to below 1.
double GetPhase(Seconds elapsed, Seconds period) noexcept
{
    return std::fmod(elapsed.count(), period.count()) / period.count();
}

/// Turns every number into another that looks random (the mixer of the SplitMix64 generator).
uint64 Mix(uint64 number) noexcept
{
    number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
    number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
    return number ^ (number >> 31U);
}

/// Of a value of a number type; not set for others, also for a text that looks like a number.
std::optional<double> GetNumber(const ItemValue& value)
{
    if (value.GetType() == RscType::Bool || value.GetType() == RscType::String)
    {
        return std::nullopt;
    }
    const auto number = Items::ItemConversion::GetNumber(value);
    return number ? std::optional(static_cast<double>(*number)) : std::nullopt;
}

} // namespace

SimulatedSignal SimulatedSignal::MakeConstant(const ItemValue& value, const BasicString& meaning)
{
    return {[value](Seconds) { return value; }, "constant " + meaning};
}

SimulatedSignal SimulatedSignal::MakeRamp(double from, double to, Seconds period)
{
    return {[from, to, period](Seconds elapsed) { return ItemValue(std::lerp(from, to, GetPhase(elapsed, period))); },
            fmt::format("ramp from {} to {} in {} s", from, to, period.count())};
}

SimulatedSignal SimulatedSignal::MakeSine(double mean, double amplitude, Seconds period)
{
    return {[mean, amplitude, period](Seconds elapsed)
            { return ItemValue(mean + amplitude * std::sin(2 * std::numbers::pi * GetPhase(elapsed, period))); },
            fmt::format("sine around {} by {} in {} s", mean, amplitude, period.count())};
}

SimulatedSignal SimulatedSignal::MakeSteps(std::vector<ItemValue> values, Seconds hold)
{
    assert(!values.empty());
    BasicString description = fmt::format("{} steps of {} s", values.size(), hold.count());
    return {[values = std::move(values), hold](Seconds elapsed)
            {
                const double step = std::fmod(std::floor(elapsed / hold), static_cast<double>(values.size()));
                return values[static_cast<std::size_t>(step)];
            },
            std::move(description)};
}

SimulatedSource::SimulatedSource(SimulatedSignal signal, double noiseAmplitude, uint64 noiseSeed,
                                 Machine::SteadyClock clock)
    : signal(std::move(signal)),
      noiseAmplitude(noiseAmplitude),
      noiseSeed(noiseSeed),
      clock(std::move(clock)),
      begin(this->clock())
{
}

Items::ItemReading SimulatedSource::Read(const Items::ReadPass&)
{
    Items::ItemReading reading = {signal.getValue(clock() - begin), {}, GetOrigin()};
    if (const auto number = noiseAmplitude > 0 ? GetNumber(reading.value) : std::nullopt)
    {
        reading.value = ItemValue(*number + GetNextNoise());
    }
    return reading;
}

BasicString SimulatedSource::Describe() const
{
    const BasicString text = "simulated: " + signal.description;
    return noiseAmplitude > 0 ? fmt::format("{}, noise {}", text, noiseAmplitude) : text;
}

Items::Simulation SimulatedSource::GetSimulation() const noexcept
{
    return Items::Simulation::Always;
}

Items::ItemOrigin SimulatedSource::GetOrigin() const noexcept
{
    return Items::ItemOrigin::Simulated;
}

double SimulatedSource::GetNextNoise() noexcept
{
    constexpr uint64 increment = 0x9E3779B97F4A7C15U;
    const uint64 number = noiseCount.fetch_add(1, std::memory_order_relaxed) + 1;
    // 53 bits fill a double evenly from 0 to below 1.
    const double fraction = std::ldexp(static_cast<double>(Mix(noiseSeed + number * increment) >> 11U), -53);
    return noiseAmplitude * (2 * fraction - 1);
}

} // namespace Oxa::Device::Linux::Sources
