#pragma once

#include "Device/Items/ItemTable.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <optional>
#include <string_view>

/// Well-known items: their types, what they mean, and keys that resemble theirs. Safe from any thread.
namespace Oxa::Device::Linux::Items
{

/// The type that the readers of a well-known key expect; nothing for every other key. A key with "{0}" for the number
/// of a core counts as well-known.
[[nodiscard]] std::optional<System::Rsc::RscType> FindExpectedType(std::string_view key) noexcept;

/// Empty for a key that is not well-known.
[[nodiscard]] ItemMeaning GetWellKnownMeaning(std::string_view key);

/// The well-known key that an unknown one resembles, so that it is probably meant; empty without one.
[[nodiscard]] std::string_view FindSimilarKey(std::string_view key);

} // namespace Oxa::Device::Linux::Items
