#include "Device/Description/DescriptionWriter.hpp"

#include "Device/Description/DescriptionDocument.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/Sources/BoardTemperature.hpp"
#include "Device/Sources/LedStatus.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Xml/XmlWriter.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

using System::Commons::Xml::XmlWriter;

namespace
{

/// One element of a source.
struct Candidate
{
    BasicString element;
    std::vector<std::pair<BasicString, BasicString>> attributes;
};

/// An item and where its value could come from.
struct Plan
{
    BasicString key;
    std::vector<Candidate> candidates;
    /// Made up; empty: the item is left out.
    BasicString simulatedValue;
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

void Write(XmlWriter& writer, const BasicString& key, const Candidate& source)
{
    writer.WriteStartElement("Item");
    writer.WriteAttribute("key", key);
    Write(writer, source);
    writer.WriteEndElement();
}

bool GivesValues(const BasicString& description, const Machine::MachineRoot& root)
{
    DescribedMachine machine(root);
    const auto table = DeviceDescription::Parse(description, "probe").MakeItems(machine);
    const auto items = table->GetItems();
    const auto pass = Items::ReadPass::Begin();
    return std::all_of(items.begin(), items.end(),
                       [&pass](Items::DeviceItem* item) { return item->TryRead(pass).HasValue(); });
}

/// Tries it by a description of nothing else, so that what is tried is what will be read. What cannot be described,
/// such as a chip without a name, is not usable.
bool IsUsable(const BasicString& key, const Candidate& candidate, const Machine::MachineRoot& root)
{
    try
    {
        XmlWriter writer;
        writer.WriteStartElement(DescriptionDocument::elementName);
        Write(writer, key, candidate);
        writer.WriteEndElement();
        return GivesValues(writer.GetText(), root);
    }
    catch (const System::Commons::Exception&)
    {
        return false;
    }
}

void WriteItem(XmlWriter& writer, const Plan& plan, const Machine::MachineRoot& root)
{
    for (const Candidate& candidate : plan.candidates)
    {
        if (IsUsable(plan.key, candidate, root))
        {
            Write(writer, plan.key, candidate);
            return;
        }
    }
    if (plan.simulatedValue.empty())
    {
        writer.WriteComment(fmt::format(" {}: this machine does not tell. ", plan.key));
        return;
    }
    writer.WriteComment(" Simulated, this machine has none: ");
    Write(writer, plan.key, {"simulated", {{"value", plan.simulatedValue}}});
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
    std::vector<Candidate> temperatures;
    if (const auto sensor = Sources::FindBoardTemperatureSensor(root))
    {
        temperatures.push_back(MakeTemperature(*sensor));
    }
    temperatures.push_back({"boardtemperature", {}});
    return {{"Cpu.Cores.Count", {{"cpu", {{"figure", "count"}}}}, {}},
            {"Status.Cpu.{0}.Load.Percent", {{"cpu", {{"core", "each"}}}}, {}},
            {"Status.Memory.Usage.Percent.Actual", {{"memory", {{"figure", "percent"}}}}, {}},
            {"Status.UserPartition.Total", partition("total"), {}},
            {"Status.UserPartition.Usage", partition("usage"), {}},
            {"Status.UserPartition.Usage.Percent", partition("percent"), {}},
            {"Status.System.UpTime.Seconds", {{"uptime", {}}}, {}},
            {"Status.Board.Temperature.Centigrade", temperatures, "45"},
            {"Status.RunStopSwitch.Supported", {}, "true"},
            {"Status.RunStopSwitch.Position", {}, "Run"}};
}

std::vector<Plan> PlanPanelLeds()
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
                         std::to_string(Sources::MakeLedWord(Sources::LedState::Off, colour))});
    }
    return plans;
}

/// The LEDs that the kernel drives, under keys of their own: which of the panel's they are, only people know.
std::vector<Plan> PlanKernelLeds(const Machine::MachineRoot& root)
{
    std::vector<Plan> plans;
    std::error_code error;
    std::filesystem::directory_iterator entry(root.Resolve("/sys/class/leds"), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
    {
        const BasicString name = entry->path().filename().string();
        plans.push_back({"Status.Leds.Board." + name, {{"led", {{"name", name}}}}, {}});
    }
    std::sort(plans.begin(), plans.end(), [](const Plan& left, const Plan& right) { return left.key < right.key; });
    return plans;
}

void WriteItems(XmlWriter& writer, const std::vector<Plan>& plans, const Machine::MachineRoot& root)
{
    for (const Plan& plan : plans)
    {
        WriteItem(writer, plan, root);
    }
}

} // namespace

BasicString WriteDescription(const Machine::MachineRoot& root)
{
    XmlWriter writer;
    writer.WriteStartElement(DescriptionDocument::elementName);
    writer.WriteComment(" Commands are simulated until somebody decides otherwise. ");
    Write(writer, {"Restart", {{"action", "simulate"}}});
    Write(writer, {"FactoryReset", {{"action", "simulate"}}});
    WriteItems(writer, PlanIdentity(), root);
    WriteItems(writer, PlanStatus(root), root);
    WriteItems(writer, PlanPanelLeds(), root);
    WriteItems(writer, PlanKernelLeds(root), root);
    writer.WriteEndElement();
    return writer.GetText();
}

} // namespace Oxa::Device::Linux::Description
