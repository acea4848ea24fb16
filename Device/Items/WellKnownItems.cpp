#include "Device/Items/WellKnownItems.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Items
{

using System::Rsc::RscType;

namespace
{

/// A well-known key, or a family of them: '*' stands for any text. The first line that a key fits counts. The keys of
/// families that readers ask for are listed behind them, so that others can be compared with them.
struct WellKnownItem
{
    std::string_view key;
    RscType type;
    /// "{0}" in it stands for the text that '*' stands for.
    std::string_view description = {};
    std::string_view unit = {};
    bool hasHistory = false;
};

constexpr WellKnownItem wellKnownItems[] = {
    {"General.ArticleName", RscType::String, "Name of the device"},
    {"General.ArticleNumber", RscType::String, "Article number of the device"},
    {"General.SerialNumber", RscType::String, "Serial number of the device"},
    {"General.Firmware.Version", RscType::String, "Version of the firmware"},
    {"General.Hardware.Version", RscType::String, "Version of the hardware"},
    {"General.Fpga.Version", RscType::String, "Version of the FPGA"},
    {"General.SPNS.Firmware.Version", RscType::String, "Version of the safety controller's firmware"},
    {"General.SPNS.Fpga.Version", RscType::String, "Version of the safety controller's FPGA"},
    {"General.SPNS.*.Version", RscType::String, "Version of the safety controller: {0}"},
    {"Cpu.Cores.Count", RscType::Uint8, "Number of processor cores"},
    {"Status.Cpu.0.Load.Percent", RscType::Uint8, "Load of all processor cores together", "%", true},
    {"Status.Cpu.*.Load.Percent", RscType::Uint8, "Load of processor core {0}", "%"},
    {"Status.Cpu.{0}.Load.Percent", RscType::Uint8},
    {"Status.Memory.Usage.Percent.Actual", RscType::Uint8, "Share of the memory that is in use", "%", true},
    {"Status.UserPartition.Total", RscType::Uint64, "Size of the user partition", "B"},
    {"Status.UserPartition.Usage", RscType::Uint64, "Space that is used on the user partition", "B"},
    {"Status.UserPartition.Usage.Percent", RscType::Uint8, "Share of the user partition that is used", "%", true},
    {"Status.Board.Temperature.Centigrade", RscType::Int8, "Temperature of the board", "°C", true},
    {"Status.Leds.*", RscType::Uint32, "LED {0}: state and colour"},
    {"Status.Leds.Pnio.Bf_C", RscType::Uint32},
    {"Status.Leds.Pnio.Bf_D", RscType::Uint32},
    {"Status.Leds.Pnio.Sf", RscType::Uint32},
    {"Status.Leds.Runtime.Debug", RscType::Uint32},
    {"Status.Leds.Runtime.Ext", RscType::Uint32},
    {"Status.Leds.Runtime.Fail", RscType::Uint32},
    {"Status.Leds.Runtime.Run", RscType::Uint32},
    {"Status.Leds.Safety.Fs", RscType::Uint32},
    {"Status.Leds.Safety.Run", RscType::Uint32},
    {"Status.Leds.Zelo.D", RscType::Uint32},
    {"Status.Leds.Zelo.E", RscType::Uint32},
    {"Status.RunStopSwitch.Supported", RscType::Bool, "Whether the device has a run/stop switch"},
    {"Status.RunStopSwitch.Position", RscType::String, "Position of the run/stop switch"},
    {"Status.System.BootId", RscType::String, "Identifier of this run of the device"},
    {"Status.System.BuildId", RscType::String, "Identifier of the device's program and description"},
    {"Status.System.UpTime.Seconds", RscType::Uint64, "Time since the start of the machine", "s"}};

/// The text that '*' stands for, empty without one; nothing when the key does not fit the pattern.
std::optional<std::string_view> Match(std::string_view key, std::string_view pattern) noexcept
{
    const std::size_t star = pattern.find('*');
    if (star == std::string_view::npos)
    {
        return key == pattern ? std::optional(std::string_view()) : std::nullopt;
    }
    const std::string_view begin = pattern.substr(0, star);
    const std::string_view end = pattern.substr(star + 1);
    const bool fits = key.size() >= begin.size() + end.size() && key.starts_with(begin) && key.ends_with(end);
    return fits ? std::optional(key.substr(star, key.size() - begin.size() - end.size())) : std::nullopt;
}

const WellKnownItem* FindWellKnown(std::string_view key) noexcept
{
    const auto* const found = std::ranges::find_if(wellKnownItems, [key](const WellKnownItem& item)
                                                   { return Match(key, item.key).has_value(); });
    return found == std::end(wellKnownItems) ? nullptr : found;
}

constexpr std::size_t different = std::numeric_limits<std::size_t>::max();

/// The number of characters to add, leave out or replace.
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

/// Compares the parts between the points one by one: at most half of a part's characters may differ, or a quarter of
/// all when the number of parts differs, so that a key of the device's own is not taken for a mistake.
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
    for (const WellKnownItem& item : wellKnownItems)
    {
        const std::string_view known = item.key;
        const std::size_t distance = known.find('*') == std::string_view::npos ? GetKeyDistance(key, known) : different;
        if (distance < nearestDistance)
        {
            nearest = known;
            nearestDistance = distance;
        }
    }
    return nearestDistance == 0 ? std::string_view() : nearest;
}

std::optional<RscType> FindExpectedType(std::string_view key) noexcept
{
    const WellKnownItem* const item = FindWellKnown(key);
    return item == nullptr ? std::nullopt : std::optional(item->type);
}

ItemMeaning GetWellKnownMeaning(std::string_view key)
{
    const WellKnownItem* const item = FindWellKnown(key);
    if (item == nullptr)
    {
        return {};
    }
    BasicString description(item->description);
    boost::algorithm::replace_all(description, "{0}", *Match(key, item->key));
    return {BasicString(item->unit), std::move(description), item->hasHistory};
}

} // namespace Oxa::Device::Linux::Items
