#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/ItemReading.hpp"
#include "Device/Items/ReadPass.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <optional>
#include <string_view>

/// Values as values of other types. Nothing is cut off and nothing wraps around: what does not fit is no value. Safe
/// from any thread.
namespace Oxa::Device::Linux::Items::ItemConversion
{

/// Of every number, of a bool (0 or 1) and of a text that is one; none for everything else. Exact for every type of up
/// to 64 bits where the machine has numbers that wide, else up to 53 bits.
[[nodiscard]] std::optional<long double> GetNumber(const ItemValue& value);

/// As a number of the type, rounded to the nearest, halves away from zero, or as a text or a bool. Missing when it is
/// out of the type's range.
[[nodiscard]] ItemReading FromNumber(long double number, System::Rsc::RscType type);

/// The text as a value of the type.
[[nodiscard]] ItemReading FromText(std::string_view text, System::Rsc::RscType type);

/// The value as a value of another type.
[[nodiscard]] ItemReading Convert(const ItemValue& value, System::Rsc::RscType type);

/// Reads the source and converts its value; none for any type. Missing, and the cause names the source, when the value
/// does not fit the type. Throws what the source throws.
[[nodiscard]] ItemReading ReadAs(std::optional<System::Rsc::RscType> type, IItemSource& source, const ReadPass& pass);

} // namespace Oxa::Device::Linux::Items::ItemConversion
