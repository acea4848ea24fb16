#include "Device/Description/SimulatedElement.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Device/Sources/SimulatedSource.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

using Items::ItemValue;
using Sources::SimulatedSignal;
using Sources::SimulatedSource;
using System::Rsc::RscType;

namespace
{

enum class Form
{
    Constant,
    Ramp,
    Sine,
    Steps
};

std::string_view GetWord(Form form) noexcept
{
    switch (form)
    {
    case Form::Ramp:
        return "ramp";
    case Form::Sine:
        return "sine";
    case Form::Steps:
        return "steps";
    default:
        return "constant";
    }
}

constexpr unsigned Bit(Form form) noexcept
{
    return 1U << static_cast<unsigned>(form);
}

/// The attributes that only some forms have, and the bits of those forms.
constexpr std::pair<std::string_view, unsigned> formAttributes[] = {
    {"value", Bit(Form::Constant)}, {"from", Bit(Form::Ramp)},
    {"to", Bit(Form::Ramp)},        {"mean", Bit(Form::Sine)},
    {"amplitude", Bit(Form::Sine)}, {"periodSeconds", Bit(Form::Ramp) | Bit(Form::Sine)},
    {"values", Bit(Form::Steps)},   {"holdSeconds", Bit(Form::Steps)}};

SimulatedSignal::Seconds ReadSeconds(DescriptionElement& element, std::string_view attributeName)
{
    constexpr double shortest = 0.001;
    constexpr double longest = 1e9;
    double seconds = 60;
    element.Read(attributeName, seconds, shortest, longest);
    return SimulatedSignal::Seconds(seconds);
}

SimulatedSignal ReadConstant(DescriptionElement& element)
{
    BasicString text;
    ItemValue value;
    if (element.RequirePresent("value") && element.Read("value", text))
    {
        value = element.ParseValue("value", text);
    }
    return SimulatedSignal::MakeConstant(value, text);
}

/// What a ramp or a sine reaches has to fit the item; noise may lead out of it.
void RequireFit(DescriptionElement& element, Form form, double lowest, double highest)
{
    const auto type = element.GetItemType();
    if (!type)
    {
        return;
    }
    if (*type == RscType::Bool)
    {
        element.Report("the form '{0}' needs an item that is a number", GetWord(form));
    }
    else if (!Items::ItemConversion::FromNumber(lowest, *type).HasValue() ||
             !Items::ItemConversion::FromNumber(highest, *type).HasValue())
    {
        element.Report("the values from {0} to {1} do not all fit the item's type {2}", lowest, highest,
                       Items::GetItemTypeWord(*type));
    }
}

SimulatedSignal ReadRamp(DescriptionElement& element)
{
    double from = 0;
    double to = 100;
    element.Read("from", from);
    element.Read("to", to);
    if (!element.IsBad("from") && !element.IsBad("to"))
    {
        RequireFit(element, Form::Ramp, from, to);
    }
    return SimulatedSignal::MakeRamp(from, to, ReadSeconds(element, "periodSeconds"));
}

SimulatedSignal ReadSine(DescriptionElement& element)
{
    double mean = 0;
    double amplitude = 1;
    element.Read("mean", mean);
    element.Read("amplitude", amplitude);
    if (!element.IsBad("mean") && !element.IsBad("amplitude"))
    {
        RequireFit(element, Form::Sine, mean - std::abs(amplitude), mean + std::abs(amplitude));
    }
    return SimulatedSignal::MakeSine(mean, amplitude, ReadSeconds(element, "periodSeconds"));
}

std::vector<ItemValue> ParseSteps(DescriptionElement& element, std::string_view text)
{
    std::vector<ItemValue> values;
    do
    {
        const std::string_view value = Machine::DeviceText::Trim(Machine::DeviceText::TakeUntil(text, ';'));
        values.push_back(element.ParseValue("values", value));
    } while (!text.empty());
    return values;
}

SimulatedSignal ReadSteps(DescriptionElement& element)
{
    BasicString text;
    std::vector<ItemValue> values(1);
    if (element.RequirePresent("values") && element.Read("values", text))
    {
        values = ParseSteps(element, text);
    }
    return SimulatedSignal::MakeSteps(std::move(values), ReadSeconds(element, "holdSeconds"));
}

/// None when it is no form; what depends on it is then accepted as it is.
std::optional<Form> ReadForm(DescriptionElement& element)
{
    auto form = Form::Constant;
    element.ReadChoice(
        "form", {{"constant", Form::Constant}, {"ramp", Form::Ramp}, {"sine", Form::Sine}, {"steps", Form::Steps}},
        form);
    for (const auto& [attributeName, forms] : formAttributes)
    {
        if (element.IsBad("form"))
        {
            element.Accept({attributeName, "noise"});
        }
        else if ((forms & Bit(form)) == 0)
        {
            element.RefuseWith("form", GetWord(form), {attributeName});
        }
    }
    return element.IsBad("form") ? std::nullopt : std::optional(form);
}

SimulatedSignal ReadSignal(DescriptionElement& element, Form form)
{
    switch (form)
    {
    case Form::Ramp:
        return ReadRamp(element);
    case Form::Sine:
        return ReadSine(element);
    case Form::Steps:
        return ReadSteps(element);
    default:
        return ReadConstant(element);
    }
}

double ReadNoise(DescriptionElement& element, Form form)
{
    double amplitude = 0;
    element.Read("noise", amplitude, 0, std::numeric_limits<double>::max());
    // Without a type, what is written is a text.
    const bool isWritten = form == Form::Constant || form == Form::Steps;
    const auto type = element.GetItemType().value_or(isWritten ? RscType::String : RscType::Real64);
    if (amplitude > 0 && (type == RscType::String || type == RscType::Bool))
    {
        element.Report("the attribute 'noise' of the element '{0}' needs an item that is a number", element.GetName());
    }
    return amplitude;
}

} // namespace

SourceMaker ReadSimulated(DescriptionElement& element)
{
    const auto form = ReadForm(element);
    // Nothing is made of what is not right.
    SimulatedSignal signal = form ? ReadSignal(element, *form) : SimulatedSignal::MakeConstant({}, {});
    const double noise = form ? ReadNoise(element, *form) : 0;
    std::size_t seed = 0;
    element.Read("seed", seed, 0, std::numeric_limits<uint32>::max());
    return [signal = std::move(signal), noise, seed](DescribedMachine& /*machine*/)
    {
        return std::make_unique<SimulatedSource>(signal, noise, seed);
    };
}

} // namespace Oxa::Device::Linux::Description
