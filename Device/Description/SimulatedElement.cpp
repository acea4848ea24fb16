#include "Device/Description/SourceElements.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Device/Sources/SimulatedFaultSource.hpp"
#include "Device/Sources/SimulatedSource.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

using Items::ItemValue;
using Sources::SimulatedFaultSource;
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

/// The attributes that only some forms have, and those forms, the last one perhaps twice.
constexpr std::pair<std::string_view, std::array<Form, 2>> formAttributes[] = {
    {"value", {Form::Constant, Form::Constant}},
    {"from", {Form::Ramp, Form::Ramp}},
    {"to", {Form::Ramp, Form::Ramp}},
    {"mean", {Form::Sine, Form::Sine}},
    {"amplitude", {Form::Sine, Form::Sine}},
    {"periodSeconds", {Form::Ramp, Form::Sine}},
    {"values", {Form::Steps, Form::Steps}},
    {"holdSeconds", {Form::Steps, Form::Steps}}};

/// The text of an attribute that must be there but may be empty.
BasicString ReadValueText(DescriptionElement& element, std::string_view attributeName)
{
    BasicString text;
    element.Read(attributeName, text);
    if (!element.Has(attributeName))
    {
        element.Report("the element '{0}' needs the attribute '{1}'", element.GetName(), attributeName);
    }
    return text;
}

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
    const BasicString text = ReadValueText(element, "value");
    return SimulatedSignal::MakeConstant(element.ParseValue("value", text), text);
}

SimulatedSignal ReadRamp(DescriptionElement& element)
{
    double from = 0;
    double to = 100;
    element.Read("from", from);
    element.Read("to", to);
    return SimulatedSignal::MakeRamp(from, to, ReadSeconds(element, "periodSeconds"));
}

SimulatedSignal ReadSine(DescriptionElement& element)
{
    double mean = 0;
    double amplitude = 1;
    element.Read("mean", mean);
    element.Read("amplitude", amplitude);
    return SimulatedSignal::MakeSine(mean, amplitude, ReadSeconds(element, "periodSeconds"));
}

SimulatedSignal ReadSteps(DescriptionElement& element)
{
    const BasicString text = ReadValueText(element, "values");
    std::vector<ItemValue> values;
    std::string_view rest = text;
    do
    {
        const std::string_view value = Machine::DeviceText::Trim(Machine::DeviceText::TakeUntil(rest, ';'));
        values.push_back(element.ParseValue("values", value));
    } while (!rest.empty());
    return SimulatedSignal::MakeSteps(std::move(values), ReadSeconds(element, "holdSeconds"));
}

Form ReadForm(DescriptionElement& element)
{
    auto form = Form::Constant;
    element.ReadChoice(
        "form", {{"constant", Form::Constant}, {"ramp", Form::Ramp}, {"sine", Form::Sine}, {"steps", Form::Steps}},
        form);
    for (const auto& [attributeName, forms] : formAttributes)
    {
        if (element.Has(attributeName) && std::find(forms.begin(), forms.end(), form) == forms.end())
        {
            BasicString ignored;
            element.Read(attributeName, ignored);
            element.Report("the attribute '{0}' does not belong to the form '{1}'", attributeName, GetWord(form));
        }
    }
    return form;
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

std::optional<SimulatedFaultSource::Fault> ReadFault(DescriptionElement& element)
{
    using Kind = SimulatedFaultSource::Kind;
    constexpr std::size_t longestDelay = 60'000;
    SimulatedFaultSource::Fault fault;
    if (!element.ReadChoice("fault",
                            {{"delay", Kind::Delay},
                             {"wrongType", Kind::WrongType},
                             {"notSet", Kind::NotSet},
                             {"dropConnection", Kind::DroppedConnection}},
                            fault.kind))
    {
        return std::nullopt;
    }
    if (fault.kind == Kind::Delay)
    {
        std::size_t milliseconds = 1000;
        element.Read("delayMilliseconds", milliseconds, 1, longestDelay);
        fault.delay = std::chrono::milliseconds(milliseconds);
    }
    std::size_t every = 1;
    element.Read("every", every, 1, std::numeric_limits<uint32>::max());
    fault.every = every;
    return fault;
}

} // namespace

SourceMaker ReadSimulated(DescriptionElement& element)
{
    const Form form = ReadForm(element);
    SimulatedSignal signal = ReadSignal(element, form);
    const double noise = ReadNoise(element, form);
    std::size_t seed = 0;
    element.Read("seed", seed, 0, std::numeric_limits<uint32>::max());
    return [signal = std::move(signal), noise, seed,
            fault = ReadFault(element)](DescribedMachine& machine) -> std::unique_ptr<Items::IItemSource>
    {
        auto source = std::make_unique<SimulatedSource>(signal, noise, seed);
        if (!fault)
        {
            return source;
        }
        return std::make_unique<SimulatedFaultSource>(std::move(source), *fault, machine.GetDelayWaiter());
    };
}

} // namespace Oxa::Device::Linux::Description
