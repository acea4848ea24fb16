#pragma once

#include "Oxa/System/Rsc/RscType.hpp"

#include <optional>
#include <string_view>

/// The types that items have. Safe from any thread.
namespace Oxa::Device::Linux::Description
{

/// The type that the readers of a well-known key expect; none for every other key. A key with "{0}" for the number of a
/// core counts as well-known.
[[nodiscard]] std::optional<System::Rsc::RscType> FindExpectedType(std::string_view key) noexcept;

/// "bool", "int8" … "uint64", "real32", "real64" or "string"; none for every other word.
[[nodiscard]] std::optional<System::Rsc::RscType> ParseItemType(std::string_view word) noexcept;

/// The word for it; empty for a type that an item cannot be described to have.
[[nodiscard]] std::string_view GetItemTypeWord(System::Rsc::RscType type) noexcept;

} // namespace Oxa::Device::Linux::Description
