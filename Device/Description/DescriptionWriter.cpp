#include "Device/Description/DescriptionWriter.hpp"

#include "Device/Description/DeviceDescription.hpp"
#include "Device/Items/WellKnownItems.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Device/Sources/BoardTemperatureSource.hpp"
#include "Device/Sources/LedSource.hpp"
#include "Device/Sources/SensorSource.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Xml/XmlWriter.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

using System::Commons::Xml::XmlWriter;

namespace
{

/// The keys of the LEDs that the kernel drives begin with it.
const BasicString kernelLedPrefix = "Status.Leds.Board.";

/// One element of a source.
struct Candidate
{
    BasicString element;
    std::vector<std::pair<BasicString, BasicString>> attributes;

    bool operator==(const Candidate&) const = default;
};

/// An item and its possible sources.
struct Plan
{
    BasicString key;
    std::vector<Candidate> candidates;
    /// For a part that the machine lacks, when it is to be simulated; empty: the item is left out.
    BasicString simulatedValue = {};
    /// For a part that the machine lacks.
    Candidate absence = {};
    /// Sources that people may use instead; they are written in a comment.
    std::vector<Candidate> offers = {};
};

void Write(XmlWriter& writer, const Candidate& candidate)
{
    writer.WriteStartElement(candidate.element);
    for (const auto& [name, value] : candidate.attributes)
    {
        writer.WriteAttribute(name, value);
    }
    writer.WriteEndElement();
}

/// What is known of a well-known item is written as well, for people to change. An item for each core has another
/// meaning for all together, so it has that of its keys.
void WriteMeaning(XmlWriter& writer, const BasicString& key)
{
    const Items::ItemMeaning meaning = Items::GetWellKnownMeaning(key);
    if (key.find("{0}") != BasicString::npos)
    {
        return;
    }
    for (const auto& [name, text] : {std::pair("unit", meaning.unit),
                                     {"description", meaning.description},
                                     {"history", meaning.hasHistory ? "true" : ""}})
    {
        if (!text.empty())
        {
            writer.WriteAttribute(name, text);
        }
    }
}

void Write(XmlWriter& writer, const BasicString& key, const Candidate& source)
{
    writer.WriteStartElement("Item");
    writer.WriteAttribute("key", key);
    WriteMeaning(writer, key);
    Write(writer, source);
    writer.WriteEndElement();
}

/// Tries a source by a description of nothing else, so that what is tried is what will be read. A source that cannot be
/// described, such as a chip without a name, is not usable.
bool IsUsable(const BasicString& key, const Candidate& candidate, const Machine::MachineRoot& root)
{
    try
    {
        XmlWriter writer;
        writer.WriteStartElement(DeviceDescription::elementName);
        Write(writer, key, candidate);
        writer.WriteEndElement();
        DescribedMachine machine(root);
        const auto table = DeviceDescription::Parse(writer.GetText(), "probe").MakeItems(machine);
        const auto pass = Items::ReadPass::Begin();
        return std::ranges::all_of(table->GetItems(),
                                   [&pass](Items::DeviceItem* item) { return item->TryRead(pass).HasValue(); });
    }
    catch (const System::Commons::Exception&)
    {
        return false;
    }
}

void WriteOffers(XmlWriter& writer, const std::vector<Candidate>& offers, const Candidate& chosen)
{
    BasicString sources;
    for (const Candidate& offer : offers)
    {
        XmlWriter document;
        Write(document, offer);
        const BasicString text = document.GetText();
        const std::string_view source = Machine::DeviceText::Trim(std::string_view(text).substr(text.find("?>") + 2));
        // A comment cannot hold two hyphens.
        if (!(offer == chosen) && source.find("--") == std::string_view::npos)
        {
            sources.append(" ").append(source);
        }
    }
    if (!sources.empty())
    {
        writer.WriteComment(" Or:" + sources + ' ');
    }
}

void WriteItem(XmlWriter& writer, const Plan& plan, const Machine::MachineRoot& root, bool simulatesMissingParts)
{
    const auto usable = std::ranges::find_if(plan.candidates, [&plan, &root](const Candidate& candidate)
                                             { return IsUsable(plan.key, candidate, root); });
    const bool isFound = usable != plan.candidates.end();
    if (!isFound && plan.simulatedValue.empty())
    {
        writer.WriteComment(fmt::format(" {}: this machine gives no value. ", plan.key));
        return;
    }
    const bool isSimulated = !isFound && simulatesMissingParts;
    if (isSimulated)
    {
        writer.WriteComment(" Simulated, this machine has none: ");
    }
    const Candidate simulated = {"simulated", {{"value", plan.simulatedValue}}};
    const Candidate& missing = isSimulated ? simulated : plan.absence;
    const Candidate& chosen = isFound ? *usable : missing;
    Write(writer, plan.key, chosen);
    WriteOffers(writer, plan.offers, chosen);
}

Candidate MakeAbsence(const char* part)
{
    return {"absent", {{"part", part}}};
}

Candidate MakeTemperature(const Sources::SensorAddress& sensor)
{
    Candidate candidate = sensor.inputFile == "temp"
                              ? Candidate{"thermal", {{"zone", sensor.name}}}
                              : Candidate{"hwmon", {{"chip", sensor.name}, {"input", sensor.inputFile}}};
    if (sensor.index > 0)
    {
        candidate.attributes.emplace_back("index", std::to_string(sensor.index));
    }
    return candidate;
}

std::vector<Plan> PlanIdentity()
{
    const auto dmi = [](const char* field)
    {
        return Candidate{"dmi", {{"field", field}}};
    };
    const auto tree = [](const char* property)
    {
        return Candidate{"devicetree", {{"property", property}}};
    };
    return {{"General.ArticleName", {dmi("product_name"), tree("model"), {"file", {{"path", "/etc/hostname"}}}}, {}},
            {"General.ArticleNumber", {dmi("product_sku"), dmi("board_name"), tree("compatible")}, {}},
            {"General.SerialNumber", {dmi("product_serial"), tree("serial-number")}, {}},
            {"General.Firmware.Version", {{"osrelease", {{"field", "PRETTY_NAME VERSION NAME"}}}}, {}},
            {"General.Hardware.Version", {dmi("product_version"), dmi("board_version")}, {}}};
}

std::vector<Plan> PlanStatus(const Machine::MachineRoot& root)
{
    const auto partition = [](const char* figure)
    {
        return std::vector<Candidate>{{"partition", {{"mount", "/"}, {"figure", figure}}}};
    };
    constexpr std::size_t maximumOfferCount = 32;
    std::vector<Candidate> sensors;
    for (const auto& sensor : Sources::FindTemperatureSensors(root, maximumOfferCount, Items::ReadPass::Begin()))
    {
        sensors.push_back(MakeTemperature(sensor));
    }
    std::vector<Candidate> temperatures(sensors.begin(), sensors.begin() + (sensors.empty() ? 0 : 1));
    temperatures.push_back({"boardtemperature", {}});
    return {{"Cpu.Cores.Count", {{"cpu", {{"figure", "count"}}}}, {}},
            {"Status.Cpu.{0}.Load.Percent", {{"cpu", {{"core", "each"}}}}, {}},
            {"Status.Memory.Usage.Percent.Actual", {{"memory", {{"figure", "percent"}}}}, {}},
            {"Status.UserPartition.Total", partition("total"), {}},
            {"Status.UserPartition.Usage", partition("usage"), {}},
            {"Status.UserPartition.Usage.Percent", partition("percent"), {}},
            {"Status.System.UpTime.Seconds", {{"uptime", {}}}, {}},
            {"Status.Board.Temperature.Centigrade", temperatures, "45", MakeAbsence("temperature sensor"), sensors},
            {"Status.RunStopSwitch.Supported", {}, "true", {"text", {{"value", "false"}}}},
            {"Status.RunStopSwitch.Position", {}, "Run", MakeAbsence("run/stop switch")}};
}

/// The readable LEDs that the kernel drives, sorted by name.
std::vector<BasicString> FindKernelLeds(const Machine::MachineRoot& root)
{
    std::vector<BasicString> names;
    std::error_code error;
    std::filesystem::directory_iterator entry(root.Resolve("/sys/class/leds"), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
    {
        BasicString name = entry->path().filename().string();
        if (IsUsable(kernelLedPrefix + name, {"led", {{"name", name}}}, root))
        {
            names.push_back(std::move(name));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// The LEDs of the panel, each with the kernel's LEDs of its colour as offers: only people know which one it is.
std::vector<Plan> PlanPanelLeds(const std::vector<BasicString>& kernelLeds)
{
    const std::pair<const char*, Sources::LedColour> leds[] = {
        {"Runtime.Run", Sources::LedColour::Green},    {"Runtime.Fail", Sources::LedColour::Red},
        {"Runtime.Debug", Sources::LedColour::Yellow}, {"Runtime.Ext", Sources::LedColour::Green},
        {"Pnio.Bf_C", Sources::LedColour::Red},        {"Pnio.Bf_D", Sources::LedColour::Red},
        {"Pnio.Sf", Sources::LedColour::Red},          {"Zelo.D", Sources::LedColour::Green},
        {"Zelo.E", Sources::LedColour::Red},           {"Safety.Run", Sources::LedColour::Green},
        {"Safety.Fs", Sources::LedColour::Red}};
    std::vector<Plan> plans;
    for (const auto& [name, colour] : leds)
    {
        plans.push_back({fmt::format("Status.Leds.{}", name),
                         {},
                         std::to_string(Sources::MakeLedWord(Sources::LedState::Off, colour)),
                         MakeAbsence("LED"),
                         {}});
        for (const BasicString& led : kernelLeds)
        {
            if (Sources::LedSource::GetColourOfName(led) == colour)
            {
                plans.back().offers.push_back({"led", {{"name", led}}});
            }
        }
    }
    return plans;
}

} // namespace

BasicString WriteDescription(const Machine::MachineRoot& root, bool simulatesMissingParts)
{
    XmlWriter writer;
    writer.WriteStartElement(DeviceDescription::elementName);
    writer.WriteComment(" Commands are simulated; other actions make them real. ");
    Write(writer, {"Restart", {{"action", "simulate"}}});
    Write(writer, {"FactoryReset", {{"action", "simulate"}}});
    const auto kernelLeds = FindKernelLeds(root);
    for (const auto& plans : {PlanIdentity(), PlanStatus(root), PlanPanelLeds(kernelLeds)})
    {
        for (const Plan& plan : plans)
        {
            WriteItem(writer, plan, root, simulatesMissingParts);
        }
    }
    for (const BasicString& name : kernelLeds)
    {
        Write(writer, kernelLedPrefix + name, {"led", {{"name", name}}});
    }
    writer.WriteEndElement();
    return writer.GetText();
}

} // namespace Oxa::Device::Linux::Description
