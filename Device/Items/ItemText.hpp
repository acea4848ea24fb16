#pragma once

#include "Device/Items/ItemReading.hpp"

#include <string_view>

namespace Oxa::Device::Linux::Items
{

/// One line for people: "Status.Cpu.0.Load.Percent = 12 (uint8)", "Name = Box (string)" or "Name has no value". Control
/// characters come out as \xNN. Safe from any thread.
[[nodiscard]] BasicString FormatItem(std::string_view key, const ItemValue& value);

} // namespace Oxa::Device::Linux::Items
