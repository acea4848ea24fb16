#include "Device/Description/ItemTypes.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <algorithm>
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

/// A well-known key, or a family of them: '*' stands for any text. The keys of families that readers ask for are listed
/// as well, so that others can be compared with them.
struct TypedKey
{
    std::string_view key;
    RscType type;
};

constexpr TypedKey typedKeys[] = {{"General.ArticleName", RscType::String},
                                  {"General.ArticleNumber", RscType::String},
                                  {"General.SerialNumber", RscType::String},
                                  {"General.Firmware.Version", RscType::String},
                                  {"General.Hardware.Version", RscType::String},
                                  {"General.Fpga.Version", RscType::String},
                                  {"General.SPNS.*.Version", RscType::String},
                                  {"Cpu.Cores.Count", RscType::Uint8},
                                  {"Status.Cpu.*.Load.Percent", RscType::Uint8},
                                  {"Status.Memory.Usage.Percent.Actual", RscType::Uint8},
                                  {"Status.UserPartition.Total", RscType::Uint64},
                                  {"Status.UserPartition.Usage", RscType::Uint64},
                                  {"Status.UserPartition.Usage.Percent", RscType::Uint8},
                                  {"Status.Board.Temperature.Centigrade", RscType::Int8},
                                  {"Status.Leds.*", RscType::Uint32},
                                  {"Status.RunStopSwitch.Supported", RscType::Bool},
                                  {"Status.RunStopSwitch.Position", RscType::String},
                                  {"Status.System.BootId", RscType::String},
                                  {"Status.System.BuildId", RscType::String},
                                  {"Status.System.UpTime.Seconds", RscType::Uint64},
                                  {"General.SPNS.Firmware.Version", RscType::String},
                                  {"General.SPNS.Fpga.Version", RscType::String},
                                  {"Status.Cpu.{0}.Load.Percent", RscType::Uint8},
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
                                  {"Status.Leds.Zelo.E", RscType::Uint32}};

bool Matches(std::string_view key, std::string_view pattern) noexcept
{
    const std::size_t star = pattern.find('*');
    return star == std::string_view::npos
               ? key == pattern
               : key.starts_with(pattern.substr(0, star)) && key.ends_with(pattern.substr(star + 1));
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
    for (const auto& [known, type] : typedKeys)
    {
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
    const auto* const found =
        std::ranges::find_if(typedKeys, [key](const TypedKey& typed) { return Matches(key, typed.key); });
    return found == std::end(typedKeys) ? std::nullopt : std::optional(found->type);
}

} // namespace Oxa::Device::Linux::Description
