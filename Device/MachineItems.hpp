#pragma once

#include "Device/BootIdentity.hpp"
#include "Device/Items/CpuLoads.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Device/MachineRoot.hpp"

#include <memory>

namespace Oxa::Device::Linux
{

/// Every item of a Linux machine with the source that this machine has for it. What it has not got is simulated, where
/// a made-up value does no harm; identity is never made up.
/// Requires: no pointer is null.
[[nodiscard]] std::unique_ptr<Items::ItemTable>
MakeMachineItems(const MachineRoot& root, const std::shared_ptr<const Items::CpuLoads>& loads,
                 const std::shared_ptr<const BootIdentity>& bootIdentity);

} // namespace Oxa::Device::Linux
