#include "Device/Sources/SimulatedNoise.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <cmath>
#include <optional>

namespace Oxa::Device::Linux::Sources
{

namespace
{

using System::Rsc::RscType;

/// Makes of every number another that looks like chance (the mixer of the SplitMix64 generator).
uint64 Mix(uint64 number) noexcept
{
    number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
    number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
    return number ^ (number >> 31U);
}

/// Of what is a number by its type; a text that looks like one is none.
std::optional<double> GetNumber(const Items::ItemValue& value)
{
    if (value.GetType() == RscType::Bool || value.GetType() == RscType::String)
    {
        return std::nullopt;
    }
    const auto number = Items::ItemConversion::GetNumber(value);
    return number ? std::optional(static_cast<double>(*number)) : std::nullopt;
}

} // namespace

SimulatedNoise::SimulatedNoise(double amplitude, uint64 seed) : amplitude(amplitude), seed(seed)
{
    if (!std::isfinite(amplitude) || amplitude < 0)
    {
        throw System::Commons::ArgumentException::Create("amplitude", amplitude, "Not a number from 0");
    }
}

void SimulatedNoise::AddTo(Items::ItemValue& value)
{
    if (amplitude == 0)
    {
        return;
    }
    if (const auto number = GetNumber(value))
    {
        value = Items::ItemValue(*number + GetNext());
    }
}

double SimulatedNoise::GetAmplitude() const noexcept
{
    return amplitude;
}

double SimulatedNoise::GetNext() noexcept
{
    constexpr uint64 increment = 0x9E3779B97F4A7C15U;
    const uint64 number = count.fetch_add(1, std::memory_order_relaxed) + 1;
    // 53 bits fill a double evenly from 0 to below 1.
    const double fraction = std::ldexp(static_cast<double>(Mix(seed + number * increment) >> 11U), -53);
    return amplitude * (2 * fraction - 1);
}

} // namespace Oxa::Device::Linux::Sources
