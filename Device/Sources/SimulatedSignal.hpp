#pragma once

#include "Device/Items/ItemReading.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <variant>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// A made-up value and how it goes on as time goes by. What is computed is a Real64. A value type, safe from any
/// thread; computing a value allocates nothing.
class SimulatedSignal final
{
public:
    using Seconds = std::chrono::duration<double>;

    /// `meaning`: the value in words, for instance "45 °C".
    [[nodiscard]] static SimulatedSignal MakeConstant(const Items::ItemValue& value, BasicString meaning);

    /// From `from` towards `to` within a period, then from `from` again. These three throw ArgumentException for a
    /// period that is not above 0, for a number that is not finite, and for no steps.
    [[nodiscard]] static SimulatedSignal MakeRamp(double from, double to, Seconds period);
    [[nodiscard]] static SimulatedSignal MakeSine(double mean, double amplitude, Seconds period);

    /// One value after the other, each for the time that it holds, then the first again.
    [[nodiscard]] static SimulatedSignal MakeSteps(std::vector<Items::ItemValue> values, Seconds hold);

    /// Requires: `elapsed` is not negative.
    [[nodiscard]] Items::ItemValue GetValue(Seconds elapsed) const;

    [[nodiscard]] bool IsConstant() const noexcept;

    /// For people, for instance "ramp from 0 to 100 in 60 s".
    [[nodiscard]] BasicString Describe() const;

private:
    struct Constant
    {
        [[nodiscard]] Items::ItemValue GetValue(Seconds elapsed) const;
        [[nodiscard]] BasicString Describe() const;

        Items::ItemValue value;
        BasicString meaning;
    };

    struct Ramp
    {
        [[nodiscard]] Items::ItemValue GetValue(Seconds elapsed) const;
        [[nodiscard]] BasicString Describe() const;

        double from;
        double to;
        Seconds period;
    };

    struct Sine
    {
        [[nodiscard]] Items::ItemValue GetValue(Seconds elapsed) const;
        [[nodiscard]] BasicString Describe() const;

        double mean;
        double amplitude;
        Seconds period;
    };

    struct Steps
    {
        [[nodiscard]] Items::ItemValue GetValue(Seconds elapsed) const;
        [[nodiscard]] BasicString Describe() const;

        std::vector<Items::ItemValue> values;
        Seconds hold;
    };

    using Form = std::variant<Constant, Ramp, Sine, Steps>;

    explicit SimulatedSignal(Form form);

    Form form;
};

} // namespace Oxa::Device::Linux::Sources
