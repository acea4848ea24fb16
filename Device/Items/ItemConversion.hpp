#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <optional>
#include <string_view>

/// The types that items have, their words in descriptions and messages, and the conversion of values. Safe from any
/// thread.
namespace Oxa::Device::Linux::Items
{

/// All the words in short, for messages.
constexpr std::string_view itemTypeWords = "bool, int8 to uint64, real32, real64 or string";

/// "bool", "int8" … "uint64", "real32", "real64" or "string"; not set for every other word.
[[nodiscard]] std::optional<System::Rsc::RscType> ParseItemType(std::string_view word) noexcept;

/// The word for the type; the enumerator's name for a type that an item cannot be described to have.
[[nodiscard]] BasicString GetItemTypeWord(System::Rsc::RscType type);

/// One line of output: "Status.Cpu.0.Load.Percent = 12 % (uint8)", "Name = Box (string, simulated)" or "Name has no
/// value". `unit`: of the item. Control characters come out as \xNN. Safe from any thread.
[[nodiscard]] BasicString FormatItem(std::string_view key, const ItemReading& reading, std::string_view unit);

} // namespace Oxa::Device::Linux::Items

/// Values as values of other types. Nothing is cut off and nothing wraps around: what does not fit is no value.
namespace Oxa::Device::Linux::Items::ItemConversion
{

/// Of every number, of a bool (0 or 1) and of a text that is one; not set for everything else. Exact for every type of
/// up to 64 bits where the machine has numbers that wide, else up to 53 bits.
[[nodiscard]] std::optional<long double> GetNumber(const ItemValue& value);

/// As a number of the type, rounded to the nearest, halves away from zero, or as a text or a bool. Missing when it is
/// out of the type's range.
[[nodiscard]] ItemReading FromNumber(long double number, System::Rsc::RscType type);

/// The text as a value of the type.
[[nodiscard]] ItemReading FromText(std::string_view text, System::Rsc::RscType type);

/// The value as a value of another type.
[[nodiscard]] ItemReading Convert(const ItemValue& value, System::Rsc::RscType type);

/// Reads the source and converts its value to the type, if one is set. Missing, and the cause names the source, when
/// the value does not fit the type. Throws what the source throws.
[[nodiscard]] ItemReading ReadAs(std::optional<System::Rsc::RscType> type, IItemSource& source, const ReadPass& pass);

} // namespace Oxa::Device::Linux::Items::ItemConversion
