#include "Device/Description/ItemTypes.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace Oxa::Device::Linux::Description
{

using System::Rsc::RscType;

namespace
{

using NamedType = std::pair<std::string_view, RscType>;

constexpr std::array<NamedType, 17> keyTypes = {{
    {"General.ArticleName", RscType::String},
    {"General.ArticleNumber", RscType::String},
    {"General.SerialNumber", RscType::String},
    {"General.Firmware.Version", RscType::String},
    {"General.Hardware.Version", RscType::String},
    {"General.Fpga.Version", RscType::String},
    {"Cpu.Cores.Count", RscType::Uint8},
    {"Status.Memory.Usage.Percent.Actual", RscType::Uint8},
    {"Status.UserPartition.Total", RscType::Uint64},
    {"Status.UserPartition.Usage", RscType::Uint64},
    {"Status.UserPartition.Usage.Percent", RscType::Uint8},
    {"Status.Board.Temperature.Centigrade", RscType::Int8},
    {"Status.RunStopSwitch.Supported", RscType::Bool},
    {"Status.RunStopSwitch.Position", RscType::String},
    {"Status.System.BootId", RscType::String},
    {"Status.System.BuildId", RscType::String},
    {"Status.System.UpTime.Seconds", RscType::Uint64},
}};

/// Keys of which there are several.
struct KeyFamily
{
    std::string_view prefix;
    std::string_view suffix;
    RscType type;
};

constexpr std::array<KeyFamily, 3> keyFamilies = {{
    {"General.SPNS.", ".Version", RscType::String},
    {"Status.Cpu.", ".Load.Percent", RscType::Uint8},
    {"Status.Leds.", "", RscType::Uint32},
}};

} // namespace

std::optional<RscType> FindExpectedType(std::string_view key) noexcept
{
    const auto* const single =
        std::find_if(keyTypes.begin(), keyTypes.end(), [key](const NamedType& entry) { return entry.first == key; });
    if (single != keyTypes.end())
    {
        return single->second;
    }
    const auto* const family = std::find_if(keyFamilies.begin(), keyFamilies.end(),
                                            [key](const KeyFamily& entry)
                                            { return key.starts_with(entry.prefix) && key.ends_with(entry.suffix); });
    return family == keyFamilies.end() ? std::nullopt : std::optional(family->type);
}

} // namespace Oxa::Device::Linux::Description
