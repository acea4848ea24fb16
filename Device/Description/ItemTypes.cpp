#include "Device/Description/ItemTypes.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

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

/// The keys that readers ask for of the families.
constexpr std::string_view familyKeys[] = {"General.SPNS.Firmware.Version",
                                           "General.SPNS.Fpga.Version",
                                           "Status.Cpu.{0}.Load.Percent",
                                           "Status.Leds.Pnio.Bf_C",
                                           "Status.Leds.Pnio.Bf_D",
                                           "Status.Leds.Pnio.Sf",
                                           "Status.Leds.Runtime.Debug",
                                           "Status.Leds.Runtime.Ext",
                                           "Status.Leds.Runtime.Fail",
                                           "Status.Leds.Runtime.Run",
                                           "Status.Leds.Safety.Fs",
                                           "Status.Leds.Safety.Run",
                                           "Status.Leds.Zelo.D",
                                           "Status.Leds.Zelo.E"};

constexpr std::size_t different = std::numeric_limits<std::size_t>::max();

/// How many characters have to be added, left out or replaced.
std::size_t GetEditDistance(std::string_view left, std::string_view right)
{
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t(0));
    for (std::size_t i = 0; i < left.size(); ++i)
    {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < right.size(); ++j)
        {
            const std::size_t replaced = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

/// The parts between the points are compared one by one: with at most half of a part's characters to change, or a
/// quarter of all where the points are others, so that a key of the device's own is not taken for a mistake.
std::size_t GetKeyDistance(std::string_view key, std::string_view known)
{
    if (std::count(key.begin(), key.end(), '.') != std::count(known.begin(), known.end(), '.'))
    {
        const std::size_t distance = GetEditDistance(key, known);
        return distance <= known.size() / 4 ? distance : different;
    }
    std::size_t sum = 0;
    while (!known.empty())
    {
        const std::string_view part = Machine::DeviceText::TakeUntil(key, '.');
        const std::string_view knownPart = Machine::DeviceText::TakeUntil(known, '.');
        const bool isNumber = knownPart == "{0}" && Machine::DeviceText::ParseNumber<uint32>(part).has_value();
        const std::size_t distance = isNumber ? 0 : GetEditDistance(part, knownPart);
        if (distance > knownPart.size() / 2)
        {
            return different;
        }
        sum += distance;
    }
    return sum;
}

} // namespace

std::string_view FindSimilarKey(std::string_view key)
{
    std::string_view nearest;
    std::size_t nearestDistance = different;
    const auto compare = [key, &nearest, &nearestDistance](std::string_view known)
    {
        const std::size_t distance = GetKeyDistance(key, known);
        if (distance < nearestDistance)
        {
            nearest = known;
            nearestDistance = distance;
        }
    };
    for (const auto& [known, type] : keyTypes)
    {
        compare(known);
    }
    std::for_each(std::begin(familyKeys), std::end(familyKeys), compare);
    return nearestDistance == 0 ? std::string_view() : nearest;
}

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
