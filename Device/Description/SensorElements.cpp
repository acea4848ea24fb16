#include "Device/Description/SensorElements.hpp"

#include "Device/Sources/AbsentSource.hpp"
#include "Device/Sources/GpioSource.hpp"
#include "Device/Sources/HwmonSource.hpp"
#include "Device/Sources/LedSource.hpp"
#include "Device/Sources/ThermalSource.hpp"

#include <optional>
#include <utility>

namespace Oxa::Device::Linux::Description
{

using Sources::GpioSource;
using Sources::HwmonSource;

namespace
{

// More devices of one name than any machine has.
constexpr std::size_t maximumIndex = 1000;

/// "temp1_input"
bool IsTemperatureInput(std::string_view name) noexcept
{
    constexpr std::string_view prefix = "temp";
    constexpr std::string_view suffix = "_input";
    if (!name.starts_with(prefix) || !name.ends_with(suffix) || name.size() == prefix.size() + suffix.size())
    {
        return false;
    }
    name = name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
    return name.find_first_not_of("0123456789") == std::string_view::npos;
}

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
    HwmonSource::Sensor sensor;
    element.ReadRequired("chip", sensor.chip);
    element.Read("index", sensor.index, 0, maximumIndex);
    element.Read("label", sensor.label);
    element.Read("input", sensor.input);
    if (sensor.label.empty() == sensor.input.empty() && !element.IsBad("label") && !element.IsBad("input"))
    {
        element.Report("the element '{0}' needs either the attribute 'label' or 'input'", element.GetName());
    }
    if (!sensor.input.empty() && !IsTemperatureInput(sensor.input))
    {
        element.ReportBadValue("input", sensor.input, "a file like 'temp1_input'");
    }
    return [sensor = std::move(sensor)](DescribedMachine& machine)
    {
        return std::make_unique<HwmonSource>(machine.GetRoot().Resolve("/sys/class/hwmon"), sensor);
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
        return std::make_unique<Sources::ThermalSource>(machine.GetRoot().Resolve("/sys/class/thermal"), zone, index);
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
