#include "Device/Description/SourceElements.hpp"
#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Device/Sources/SimulatedSource.hpp"

#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

using Items::ItemValue;
using Sources::SimulatedSignal;
using System::Commons::Xml::XmlElementReader;
using System::Rsc::RscType;

namespace
{

/// A form of signals: how it is read, and the attributes that only some forms have.
struct SignalForm
{
    std::string_view name;
    SimulatedSignal (*read)(XmlElementReader&, const SourceContext&);
    std::set<std::string_view> attributeNames;
    /// Its values are computed; those of other forms are written in the description.
    bool isComputed;
};

SimulatedSignal::Seconds ReadSeconds(XmlElementReader& element, std::string_view attributeName)
{
    constexpr double shortest = 0.001;
    constexpr double longest = 1e9;
    double seconds = 60;
    element.Read(attributeName, seconds, shortest, longest);
    return SimulatedSignal::Seconds(seconds);
}

SimulatedSignal ReadConstant(XmlElementReader& element, const SourceContext& context)
{
    BasicString text;
    ItemValue value;
    if (element.RequirePresent("value") && element.Read("value", text))
    {
        value = ParseValue(element, "value", text, context);
    }
    return SimulatedSignal::MakeConstant(value, text);
}

/// The values of a ramp or a sine have to fit the item; noise may exceed them.
void RequireFit(XmlElementReader& element, const SourceContext& context, std::string_view form, double lowest,
                double highest)
{
    if (!context.itemType)
    {
        return;
    }
    const RscType type = *context.itemType;
    if (type == RscType::Bool)
    {
        element.Report("the form '{0}' needs an item that is a number", form);
    }
    else if (!Items::ItemConversion::FromNumber(lowest, type).HasValue() ||
             !Items::ItemConversion::FromNumber(highest, type).HasValue())
    {
        element.Report("the values from {0} to {1} do not all fit the item's type {2}", lowest, highest,
                       Items::GetItemTypeWord(type));
    }
}

SimulatedSignal ReadRamp(XmlElementReader& element, const SourceContext& context)
{
    double from = 0;
    double to = 100;
    element.Read("from", from);
    element.Read("to", to);
    if (!element.IsBad("from") && !element.IsBad("to"))
    {
        RequireFit(element, context, "ramp", from, to);
    }
    return SimulatedSignal::MakeRamp(from, to, ReadSeconds(element, "periodSeconds"));
}

SimulatedSignal ReadSine(XmlElementReader& element, const SourceContext& context)
{
    double mean = 0;
    double amplitude = 1;
    element.Read("mean", mean);
    element.Read("amplitude", amplitude);
    if (!element.IsBad("mean") && !element.IsBad("amplitude"))
    {
        RequireFit(element, context, "sine", mean - std::abs(amplitude), mean + std::abs(amplitude));
    }
    return SimulatedSignal::MakeSine(mean, amplitude, ReadSeconds(element, "periodSeconds"));
}

SimulatedSignal ReadSteps(XmlElementReader& element, const SourceContext& context)
{
    BasicString text;
    std::vector<ItemValue> values;
    if (element.RequirePresent("values"))
    {
        element.Read("values", text);
    }
    std::string_view rest = text;
    do
    {
        const std::string_view value = Machine::DeviceText::Trim(Machine::DeviceText::TakeUntil(rest, ';'));
        values.push_back(element.IsBad("values") ? ItemValue() : ParseValue(element, "values", value, context));
    } while (!rest.empty());
    return SimulatedSignal::MakeSteps(std::move(values), ReadSeconds(element, "holdSeconds"));
}

const SignalForm& ReadForm(XmlElementReader& element)
{
    static const std::array<SignalForm, 4> forms = {{{"constant", &ReadConstant, {"value"}, false},
                                                     {"ramp", &ReadRamp, {"from", "to", "periodSeconds"}, true},
                                                     {"sine", &ReadSine, {"mean", "amplitude", "periodSeconds"}, true},
                                                     {"steps", &ReadSteps, {"values", "holdSeconds"}, false}}};
    const SignalForm* form = forms.data();
    element.ReadChoice("form",
                       {{"constant", &forms[0]}, {"ramp", &forms[1]}, {"sine", &forms[2]}, {"steps", &forms[3]}}, form);
    std::set<std::string_view> others;
    for (const SignalForm& other : forms)
    {
        others.insert(other.attributeNames.begin(), other.attributeNames.end());
    }
    for (const std::string_view attributeName : others)
    {
        if (element.IsBad("form"))
        {
            element.Ignore({attributeName, "noise"});
        }
        else if (!form->attributeNames.contains(attributeName))
        {
            element.RefuseWith("form", form->name, {attributeName});
        }
    }
    return *form;
}

double ReadNoise(XmlElementReader& element, RscType type)
{
    double amplitude = 0;
    element.Read("noise", amplitude, 0);
    if (amplitude > 0 && (type == RscType::String || type == RscType::Bool))
    {
        element.Report("the attribute 'noise' of the element '{0}' needs an item that is a number", element.GetName());
    }
    return amplitude;
}

} // namespace

SourceMaker ReadSimulated(XmlElementReader& element, SourceContext& context)
{
    std::size_t seed = 0;
    element.Read("seed", seed, 0, std::numeric_limits<uint32>::max());
    const SignalForm& form = ReadForm(element);
    if (element.IsBad("form"))
    {
        return {};
    }
    // Without a type, a value that is written is a text.
    const RscType type = context.itemType.value_or(form.isComputed ? RscType::Real64 : RscType::String);
    return
        [signal = form.read(element, context), noise = ReadNoise(element, type), seed](DescribedMachine&, std::size_t)
    {
        return std::make_unique<Sources::SimulatedSource>(signal, noise, seed);
    };
}

} // namespace Oxa::Device::Linux::Description
