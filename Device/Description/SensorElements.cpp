#include "Device/Description/SensorElements.hpp"

#include "Device/Sources/FallbackSource.hpp"
#include "Device/Sources/GpioSource.hpp"
#include "Device/Sources/LedSource.hpp"
#include "Device/Sources/SensorSource.hpp"

#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Description
{

using Sources::GpioSource;
using Sources::SensorSource;

namespace
{

// More devices of one name than any machine has.
constexpr std::size_t maximumIndex = 1000;

void ReadSwitchTexts(DescriptionElement& element, GpioSource::Line& line)
{
    if (!element.Has("activeText") && !element.Has("inactiveText"))
    {
        return;
    }
    if (element.ReadRequired("activeText", line.activeText))
    {
        static_cast<void>(element.ParseValue("activeText", line.activeText));
    }
    if (element.ReadRequired("inactiveText", line.inactiveText))
    {
        static_cast<void>(element.ParseValue("inactiveText", line.inactiveText));
    }
}

} // namespace

SourceMaker ReadHwmon(DescriptionElement& element)
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
    return [sensor = std::move(sensor)](DescribedMachine& machine)
    {
        Sources::SensorAddress address = Sources::MakeHwmonAddress(machine.GetRoot(), sensor.name, sensor.index);
        address.inputFile = sensor.inputFile;
        address.label = sensor.label;
        return std::make_unique<SensorSource>(std::move(address));
    };
}

SourceMaker ReadThermal(DescriptionElement& element)
{
    BasicString zone;
    std::size_t index = 0;
    element.ReadRequired("zone", zone);
    element.Read("index", index, 0, maximumIndex);
    return [zone = std::move(zone), index](DescribedMachine& machine)
    {
        return std::make_unique<SensorSource>(Sources::MakeThermalAddress(machine.GetRoot(), zone, index));
    };
}

SourceMaker ReadLed(DescriptionElement& element)
{
    BasicString name;
    element.ReadRequired("name", name);
    if (name.find('/') != BasicString::npos || name == "." || name == "..")
    {
        element.ReportBadValue("name", name, "the name of a class device");
    }
    auto colour = Sources::LedColour::Unknown;
    const bool hasColour = element.ReadChoice("colour",
                                              {{"green", Sources::LedColour::Green},
                                               {"yellow", Sources::LedColour::Yellow},
                                               {"red", Sources::LedColour::Red},
                                               {"blue", Sources::LedColour::Blue},
                                               {"white", Sources::LedColour::White}},
                                              colour);
    return
        [name = std::move(name), colour = hasColour ? std::optional(colour) : std::nullopt](DescribedMachine& machine)
    {
        return std::make_unique<Sources::LedSource>(machine.GetRoot().Resolve("/sys/class/leds/" + name), colour);
    };
}

SourceMaker ReadGpio(DescriptionElement& element)
{
    GpioSource::Line line;
    element.ReadRequired("chip", line.chip);
    element.ReadRequired("line", line.line);
    element.Read("activeLow", line.isActiveLow);
    ReadSwitchTexts(element, line);
    return [line = std::move(line)](DescribedMachine& machine) -> std::unique_ptr<Items::IItemSource>
    {
        if (!machine.GetRoot().IsRunningMachine())
        {
            return std::make_unique<Sources::AbsentSource>("GPIO lines: it is a folder of files");
        }
        return std::make_unique<GpioSource>(line);
    };
}

} // namespace Oxa::Device::Linux::Description
