#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Device/Sources/SensorSearch.hpp"

#include <optional>

namespace Oxa::Device::Linux::Sources
{

/// The temperature sensor that tells most about the board: by its name a board's one, else a processor's, else any;
/// among equals a hardware monitor's before a thermal zone's, and the lowest number. Only sensors that give a reading
/// now count; the name decides before the number, which changes from boot to boot.
[[nodiscard]] std::optional<SensorAddress> FindBoardTemperatureSensor(const Machine::MachineRoot& root);

} // namespace Oxa::Device::Linux::Sources
