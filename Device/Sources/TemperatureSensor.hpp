#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <optional>

namespace Oxa::Device::Linux::Sources
{

/// A temperature that the machine can read.
struct TemperatureSensor
{
    /// Of a file with millidegrees Celsius.
    BasicString path;
    BasicString name;
    /// Which of several devices of that name, from 0, in the order of their device paths.
    std::size_t index = 0;
};

/// The sensor that tells most about the board: by its name a board's one, else a processor's, else any; among equals a
/// hardware monitor's before a thermal zone's, and the lowest number. Only sensors that give a reading now count; the
/// name decides before the number, which changes from boot to boot.
[[nodiscard]] std::optional<TemperatureSensor> FindBoardTemperatureSensor(const Machine::MachineRoot& root);

} // namespace Oxa::Device::Linux::Sources
