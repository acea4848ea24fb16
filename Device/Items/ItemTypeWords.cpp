#include "Device/Items/ItemTypeWords.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Oxa::Device::Linux::Items
{

using System::Rsc::RscType;

namespace
{

constexpr std::array<std::pair<std::string_view, RscType>, 12> typeWords = {{
    {"bool", RscType::Bool},
    {"int8", RscType::Int8},
    {"uint8", RscType::Uint8},
    {"int16", RscType::Int16},
    {"uint16", RscType::Uint16},
    {"int32", RscType::Int32},
    {"uint32", RscType::Uint32},
    {"int64", RscType::Int64},
    {"uint64", RscType::Uint64},
    {"real32", RscType::Real32},
    {"real64", RscType::Real64},
    {"string", RscType::String},
}};

} // namespace

std::optional<RscType> ParseItemType(std::string_view word) noexcept
{
    const auto* const found =
        std::find_if(typeWords.begin(), typeWords.end(), [word](const auto& entry) { return entry.first == word; });
    return found == typeWords.end() ? std::nullopt : std::optional(found->second);
}

BasicString GetItemTypeWord(RscType type)
{
    const auto* const found =
        std::find_if(typeWords.begin(), typeWords.end(), [type](const auto& entry) { return entry.second == type; });
    return found == typeWords.end() ? fmt::format("{}", type) : BasicString(found->first);
}

} // namespace Oxa::Device::Linux::Items
