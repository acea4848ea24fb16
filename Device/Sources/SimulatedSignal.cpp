#include "Device/Sources/SimulatedSignal.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::ArgumentException;

namespace
{

double RequireFinite(const char* name, double number)
{
    if (!std::isfinite(number))
    {
        throw ArgumentException::Create(name, number, "Not a finite number");
    }
    return number;
}

SimulatedSignal::Seconds RequireTime(const char* name, SimulatedSignal::Seconds time)
{
    if (RequireFinite(name, time.count()) <= 0)
    {
        throw ArgumentException::Create(name, time.count(), "Not above 0");
    }
    return time;
}

/// How much of the present period is over, from 0 to below 1.
double GetPhase(SimulatedSignal::Seconds elapsed, SimulatedSignal::Seconds period) noexcept
{
    return std::fmod(elapsed.count(), period.count()) / period.count();
}

} // namespace

SimulatedSignal::SimulatedSignal(Form form) : form(std::move(form)) {}

SimulatedSignal SimulatedSignal::MakeConstant(const Items::ItemValue& value, BasicString meaning)
{
    return SimulatedSignal(Constant{value, std::move(meaning)});
}

SimulatedSignal SimulatedSignal::MakeRamp(double from, double to, Seconds period)
{
    return SimulatedSignal(Ramp{RequireFinite("from", from), RequireFinite("to", to), RequireTime("period", period)});
}

SimulatedSignal SimulatedSignal::MakeSine(double mean, double amplitude, Seconds period)
{
    return SimulatedSignal(
        Sine{RequireFinite("mean", mean), RequireFinite("amplitude", amplitude), RequireTime("period", period)});
}

SimulatedSignal SimulatedSignal::MakeSteps(std::vector<Items::ItemValue> values, Seconds hold)
{
    if (values.empty())
    {
        throw ArgumentException::Create("values", 0, "There must be at least one step");
    }
    return SimulatedSignal(Steps{std::move(values), RequireTime("hold", hold)});
}

Items::ItemValue SimulatedSignal::GetValue(Seconds elapsed) const
{
    return std::visit([elapsed](const auto& present) { return present.GetValue(elapsed); }, form);
}

bool SimulatedSignal::IsConstant() const noexcept
{
    return std::holds_alternative<Constant>(form);
}

BasicString SimulatedSignal::Describe() const
{
    return std::visit([](const auto& present) { return present.Describe(); }, form);
}

Items::ItemValue SimulatedSignal::Constant::GetValue(Seconds /*elapsed*/) const
{
    return value;
}

BasicString SimulatedSignal::Constant::Describe() const
{
    return "constant " + meaning;
}

Items::ItemValue SimulatedSignal::Ramp::GetValue(Seconds elapsed) const
{
    return Items::ItemValue(std::lerp(from, to, GetPhase(elapsed, period)));
}

BasicString SimulatedSignal::Ramp::Describe() const
{
    return fmt::format("ramp from {} to {} in {} s", from, to, period.count());
}

Items::ItemValue SimulatedSignal::Sine::GetValue(Seconds elapsed) const
{
    return Items::ItemValue(mean + amplitude * std::sin(2 * std::numbers::pi * GetPhase(elapsed, period)));
}

BasicString SimulatedSignal::Sine::Describe() const
{
    return fmt::format("sine around {} by {} in {} s", mean, amplitude, period.count());
}

Items::ItemValue SimulatedSignal::Steps::GetValue(Seconds elapsed) const
{
    const double count = static_cast<double>(values.size());
    const double step = std::fmod(std::floor(elapsed / hold), count);
    return values[static_cast<std::size_t>(step)];
}

BasicString SimulatedSignal::Steps::Describe() const
{
    return fmt::format("{} steps of {} s", values.size(), hold.count());
}

} // namespace Oxa::Device::Linux::Sources
