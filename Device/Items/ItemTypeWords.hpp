#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <optional>
#include <string_view>

/// The words for the types that items have, in descriptions and in messages. Safe from any thread.
namespace Oxa::Device::Linux::Items
{

/// All the words in short, for messages.
constexpr std::string_view itemTypeWords = "bool, int8 to uint64, real32, real64 or string";

/// "bool", "int8" … "uint64", "real32", "real64" or "string"; none for every other word.
[[nodiscard]] std::optional<System::Rsc::RscType> ParseItemType(std::string_view word) noexcept;

/// The word for it; the enumerator's name for a type that an item cannot be described to have.
[[nodiscard]] BasicString GetItemTypeWord(System::Rsc::RscType type);

} // namespace Oxa::Device::Linux::Items
