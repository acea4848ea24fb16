#include "Device/Description/SourceElements.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Device/Sources/BoardTemperatureSource.hpp"
#include "Device/Sources/BootClockSource.hpp"
#include "Device/Sources/CpuLoads.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Device/Sources/FileSource.hpp"
#include "Device/Sources/GpioSource.hpp"
#include "Device/Sources/LedSource.hpp"
#include "Device/Sources/MemorySource.hpp"
#include "Device/Sources/PartitionSource.hpp"
#include "Device/Sources/SensorSource.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

using Sources::FileSource;
using System::Commons::Xml::XmlElementReader;
using System::Rsc::RscType;
using SourcePointer = std::unique_ptr<Items::IItemSource>;

namespace
{

/// How deep elements "first" can lie in one another.
constexpr int maximumNesting = 8;

constexpr std::string_view degreesCelsius = "°C";

/// More devices of one name than any machine has.
constexpr std::size_t maximumIndex = 1000;

/// An absolute path. With ".." in it, it could lead out of the folder that stands for the machine.
void ReadPath(XmlElementReader& element, std::string_view attributeName, BasicString& path)
{
    if (element.Read(attributeName, path) && (!path.starts_with('/') || (path + '/').find("/../") != BasicString::npos))
    {
        element.ReportBadValue(attributeName, path, "an absolute path without '..'");
    }
}

/// A name below a folder that the kernel gives.
BasicString ReadNameBelow(XmlElementReader& element, std::string_view attributeName)
{
    BasicString name;
    element.ReadRequired(attributeName, name);
    if (name.starts_with('/') || name.find("..") != BasicString::npos)
    {
        element.ReportBadValue(attributeName, name, "a name below the folder, without '..'");
    }
    return name;
}

/// For a source whose values have this unit.
void OfferUnit(SourceContext& context, std::string_view unit)
{
    if (context.unit.empty())
    {
        context.unit = unit;
    }
}

SourceMaker MakeFile(BasicString path, FileSource::Options options)
{
    return [path = std::move(path), options = std::move(options)](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<FileSource>(machine.GetShared<Machine::KeptFile>(path), options);
    };
}

/// For a source that does not depend on the machine.
template <class Source, class T>
SourceMaker MakeFrom(T argument)
{
    return [argument = std::move(argument)](DescribedMachine&, std::size_t)
    {
        return std::make_unique<Source>(argument);
    };
}

SourceMaker ReadText(XmlElementReader& element, SourceContext& context)
{
    BasicString text;
    Items::ItemValue value;
    if (element.RequirePresent("value") && element.Read("value", text))
    {
        value = ParseValue(element, "value", text, context);
    }
    return MakeFrom<Sources::ConstantSource>(value);
}

SourceMaker ReadFile(XmlElementReader& element, SourceContext& context)
{
    BasicString path;
    BasicString pattern;
    FileSource::Options options;
    element.RequirePresent("path");
    ReadPath(element, "path", path);
    if (element.Read("pattern", pattern))
    {
        BasicString fault;
        options.pattern = Sources::LinePattern::TryMake(pattern, fault);
        if (!options.pattern)
        {
            element.ReportBadValue("pattern", pattern, "a regular expression: " + fault);
        }
    }
    element.Read("scale", options.scale);
    element.Read("offset", options.offset);
    const auto ownType = ReadType(element);
    options.type = ownType.value_or(context.itemType.value_or(RscType::String));
    return MakeFile(std::move(path), std::move(options));
}

SourceMaker ReadDmi(XmlElementReader& element, SourceContext&)
{
    FileSource::Options options;
    options.refusesPlaceholders = true;
    return MakeFile("/sys/class/dmi/id/" + ReadNameBelow(element, "field"), std::move(options));
}

SourceMaker ReadDeviceTree(XmlElementReader& element, SourceContext&)
{
    Sources::DeviceTreeSource::Options options;
    BasicString path = "/proc/device-tree/" + ReadNameBelow(element, "property");
    element.Read("index", options.index, 0, maximumIndex);
    element.Read("cells", options.cells, 0, 2);
    return [path = std::move(path), options](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::DeviceTreeSource>(machine.GetShared<Machine::KeptFile>(path), options);
    };
}

SourceMaker ReadOsRelease(XmlElementReader& element, SourceContext&)
{
    BasicString text;
    element.ReadRequired("field", text);
    std::vector<BasicString> fields;
    std::string_view rest = text;
    for (std::string_view field = Machine::DeviceText::TakeWord(rest); !field.empty();
         field = Machine::DeviceText::TakeWord(rest))
    {
        fields.emplace_back(field);
    }
    if (fields.empty() && !text.empty())
    {
        element.ReportBadValue("field", text, "names");
    }
    return [fields = std::move(fields)](DescribedMachine& machine, std::size_t)
    {
        std::vector<std::shared_ptr<Machine::KeptFile>> files = {
            machine.GetShared<Machine::KeptFile>("/etc/os-release"),
            machine.GetShared<Machine::KeptFile>("/usr/lib/os-release")};
        return std::make_unique<Sources::OsReleaseSource>(std::move(files), fields);
    };
}

SourceMaker ReadAbsent(XmlElementReader& element, SourceContext&)
{
    BasicString part;
    element.ReadRequired("part", part);
    return MakeFrom<Sources::AbsentSource>(std::move(part));
}

SourceMaker ReadUptime(XmlElementReader&, SourceContext& context)
{
    OfferUnit(context, "s");
    return [](DescribedMachine& machine, std::size_t core) -> std::unique_ptr<Items::IItemSource>
    {
        if (machine.GetRoot().IsRunningMachine())
        {
            return std::make_unique<Sources::BootClockSource>();
        }
        // Whole seconds; the digits behind the point must be digits, too.
        BasicString fault;
        FileSource::Options options;
        options.pattern = Sources::LinePattern::TryMake(R"(^([0-9]+)(?:\.[0-9]+)?(?: |$))", fault);
        options.type = RscType::Uint64;
        return MakeFile("/proc/uptime", std::move(options))(machine, core);
    };
}

SourceMaker ReadCpuLoad(XmlElementReader& element, SourceContext& context)
{
    OfferUnit(context, "%");
    BasicString word;
    if (element.Read("core", word) && word == "each")
    {
        context.isForEachCore = true;
        return [](DescribedMachine& machine, std::size_t core)
        {
            return std::make_unique<Sources::CpuLoadSource>(machine.GetCpuLoads(), core);
        };
    }
    std::size_t core = 0;
    if (!element.IsBad("core"))
    {
        element.Read("core", core, 0, Sources::CpuLoads::maximumCoreCount);
    }
    return [core](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::CpuLoadSource>(machine.GetCpuLoads(), core);
    };
}

SourceMaker ReadCpu(XmlElementReader& element, SourceContext& context)
{
    bool isCount = false;
    element.ReadChoice("figure", {{"load", false}, {"count", true}}, isCount);
    if (!isCount)
    {
        return ReadCpuLoad(element, context);
    }
    element.RefuseWith("figure", "count", {"core"});
    return [](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::CpuCountSource>(machine.GetCpuLoads());
    };
}

/// Of a memory or a partition.
template <class Figure>
Figure ReadFigure(XmlElementReader& element, SourceContext& context)
{
    auto figure = Figure::UsagePercent;
    element.ReadChoice("figure",
                       {{"total", Figure::Total}, {"usage", Figure::Usage}, {"percent", Figure::UsagePercent}}, figure);
    OfferUnit(context, figure == Figure::UsagePercent ? "%" : "B");
    return figure;
}

SourceMaker ReadMemory(XmlElementReader& element, SourceContext& context)
{
    return
        [figure = ReadFigure<Sources::MemorySource::Figure>(element, context)](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::MemorySource>(machine.GetShared<Sources::MemoryProbe>("/proc/meminfo"),
                                                       figure);
    };
}

SourceMaker ReadPartition(XmlElementReader& element, SourceContext& context)
{
    BasicString mount = "/";
    ReadPath(element, "mount", mount);
    return [mount = std::move(mount), figure = ReadFigure<Sources::PartitionSource::Figure>(element, context)](
               DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::PartitionSource>(machine.GetShared<Sources::PartitionProbe>(mount), figure);
    };
}

SourceMaker ReadHwmon(XmlElementReader& element, SourceContext& context)
{
    Sources::SensorAddress sensor;
    element.ReadRequired("chip", sensor.name);
    element.Read("index", sensor.index, 0, maximumIndex);
    element.Read("label", sensor.label);
    element.Read("input", sensor.inputFile);
    if (sensor.label.empty() == sensor.inputFile.empty() && !element.IsBad("label") && !element.IsBad("input"))
    {
        element.Report("the element '{0}' needs either the attribute 'label' or 'input'", element.GetName());
    }
    if (!sensor.inputFile.empty() && !Sources::IsSensorInput(sensor.inputFile))
    {
        element.ReportBadValue("input", sensor.inputFile, "a file like 'temp1_input' or 'in0_input'");
    }
    OfferUnit(context, Sources::GetSensorUnit(sensor.inputFile));
    return [sensor = std::move(sensor)](DescribedMachine& machine, std::size_t)
    {
        Sources::SensorAddress address = Sources::MakeHwmonAddress(machine.GetRoot(), sensor.name, sensor.index);
        address.inputFile = sensor.inputFile;
        address.label = sensor.label;
        return std::make_unique<Sources::SensorSource>(std::move(address));
    };
}

SourceMaker ReadThermal(XmlElementReader& element, SourceContext& context)
{
    OfferUnit(context, degreesCelsius);
    BasicString zone;
    std::size_t index = 0;
    element.ReadRequired("zone", zone);
    element.Read("index", index, 0, maximumIndex);
    return [zone = std::move(zone), index](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::SensorSource>(Sources::MakeThermalAddress(machine.GetRoot(), zone, index));
    };
}

SourceMaker ReadBoardTemperature(XmlElementReader&, SourceContext& context)
{
    OfferUnit(context, degreesCelsius);
    return [](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::BoardTemperatureSource>(machine.GetRoot());
    };
}

SourceMaker ReadLed(XmlElementReader& element, SourceContext&)
{
    using Sources::LedColour;
    BasicString name;
    element.ReadRequired("name", name);
    if (name.find('/') != BasicString::npos || name == "." || name == "..")
    {
        element.ReportBadValue("name", name, "the name of a class device");
    }
    std::optional<LedColour> colour;
    element.ReadChoice("colour",
                       {{"green", std::optional(LedColour::Green)},
                        {"yellow", LedColour::Yellow},
                        {"red", LedColour::Red},
                        {"blue", LedColour::Blue},
                        {"white", LedColour::White}},
                       colour);
    return [name = std::move(name), colour](DescribedMachine& machine, std::size_t)
    {
        return std::make_unique<Sources::LedSource>(machine.GetRoot().Resolve("/sys/class/leds/" + name), colour);
    };
}

SourceMaker ReadGpio(XmlElementReader& element, SourceContext& context)
{
    Sources::GpioSource::Line line;
    element.ReadRequired("chip", line.chip);
    element.ReadRequired("line", line.line);
    element.Read("activeLow", line.isActiveLow);
    if (element.Has("activeText") || element.Has("inactiveText"))
    {
        for (auto [attributeName, text] :
             {std::pair("activeText", &line.activeText), {"inactiveText", &line.inactiveText}})
        {
            if (element.ReadRequired(attributeName, *text))
            {
                static_cast<void>(ParseValue(element, attributeName, *text, context));
            }
        }
    }
    return [line = std::move(line)](DescribedMachine& machine, std::size_t) -> SourcePointer
    {
        if (!machine.GetRoot().IsRunningMachine())
        {
            return std::make_unique<Sources::AbsentSource>("GPIO lines: it is a folder of files");
        }
        return std::make_unique<Sources::GpioSource>(line);
    };
}

SourceMaker ReadFirst(XmlElementReader& element, SourceContext& context)
{
    bool isChosenAtStart = false;
    element.ReadChoice("choice", {{"read", false}, {"start", true}}, isChosenAtStart);
    if (context.nesting == maximumNesting)
    {
        element.Report("more than {0} elements 'first' lie in one another", maximumNesting);
        element.Skip();
        return {};
    }
    std::vector<SourceMaker> makers;
    ++context.nesting;
    element.ForEachChild([&makers, &context](XmlElementReader& child)
                         { makers.push_back(ReadSource(child, context)); });
    --context.nesting;
    if (makers.empty())
    {
        element.Report("the element 'first' has no source in it");
    }
    return [makers = std::move(makers), isChosenAtStart, type = context.itemType,
            key = context.itemKey](DescribedMachine& machine, std::size_t core) -> SourcePointer
    {
        std::vector<SourcePointer> sources;
        for (const SourceMaker& make : makers)
        {
            sources.push_back(make(machine, core));
        }
        auto fallback = std::make_unique<Sources::FallbackSource>(std::move(sources), type);
        return isChosenAtStart ? std::move(*fallback).ChooseNow(key) : std::move(fallback);
    };
}

using SourceElement = std::pair<std::string_view, SourceMaker (*)(XmlElementReader&, SourceContext&)>;

constexpr SourceElement sourceElements[] = {{"absent", &ReadAbsent},
                                            {"boardtemperature", &ReadBoardTemperature},
                                            {"cpu", &ReadCpu},
                                            {"devicetree", &ReadDeviceTree},
                                            {"dmi", &ReadDmi},
                                            {"file", &ReadFile},
                                            {"first", &ReadFirst},
                                            {"gpio", &ReadGpio},
                                            {"hwmon", &ReadHwmon},
                                            {"led", &ReadLed},
                                            {"memory", &ReadMemory},
                                            {"osrelease", &ReadOsRelease},
                                            {"partition", &ReadPartition},
                                            {"simulated", &ReadSimulated},
                                            {"text", &ReadText},
                                            {"thermal", &ReadThermal},
                                            {"uptime", &ReadUptime}};

} // namespace

SourceMaker ReadSource(XmlElementReader& element, SourceContext& context)
{
    const auto* const known = std::ranges::find(sourceElements, element.GetName(), &SourceElement::first);
    if (known == std::end(sourceElements))
    {
        element.ReportUnknown();
        return {};
    }
    return known->second(element, context);
}

std::optional<RscType> ReadType(XmlElementReader& element)
{
    BasicString word;
    if (!element.Read("type", word))
    {
        return std::nullopt;
    }
    const auto type = Items::ParseItemType(word);
    if (!type)
    {
        element.ReportBadValue("type", word, Items::itemTypeWords);
    }
    return type;
}

Items::ItemValue ParseValue(XmlElementReader& element, std::string_view attributeName, std::string_view text,
                            const SourceContext& context)
{
    const RscType type = context.itemType.value_or(RscType::String);
    const auto reading = Items::ItemConversion::FromText(text, type);
    if (!reading.HasValue())
    {
        element.ReportBadValue(
            attributeName, text,
            fmt::format("a value of the item's type {}: {}", Items::GetItemTypeWord(type),
                        type == RscType::Bool ? "true, false, 1 or 0" : "a decimal number in its range"));
    }
    if (type == RscType::String && text.size() > Items::ItemReading::maximumTextBytes)
    {
        element.Report("the attribute '{0}' of the element '{1}' has a text of {2} bytes, {3} are allowed",
                       attributeName, element.GetName(), text.size(), Items::ItemReading::maximumTextBytes);
    }
    return reading.value;
}

} // namespace Oxa::Device::Linux::Description
