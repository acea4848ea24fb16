#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Device/Sources/SensorSearch.hpp"

#include <cstddef>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// The temperature sensors that tell most about the board, the best first: by its name a board's one, else a
/// processor's, else any; among equals a hardware monitor's before a thermal zone's, and the lowest number. Only
/// sensors that give a reading now count; the name decides before the number, which changes from boot to boot.
[[nodiscard]] std::vector<SensorAddress> FindTemperatureSensors(const Machine::MachineRoot& root,
                                                                std::size_t maximumCount);

} // namespace Oxa::Device::Linux::Sources
