#pragma once

#include "Device/Items/ItemTable.hpp"
#include "Oxa/Device/Interface/Services/DeviceItems.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Services
{

/// As many keys as one multi-item read may ask for.
inline constexpr std::size_t maximumItemsPerRead = 4096;

/// Takes the keys from the first delegate, then hands the values, each read when it is asked for, to the second; all in
/// one pass. Allocates nothing for the usual number of keys. Throws ArgumentException for too many keys, and what the
/// delegates throw. Safe from several threads.
void ReadItemsOf(const Items::ItemTable& table, const Interface::Services::WriteItemKeysDelegate& writeKeys,
                 const Interface::Services::ReadItemValuesDelegate& readValues);

} // namespace Oxa::Device::Linux::Services
