#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Description
{

/// What becomes of parts that are not found.
enum class MissingParts
{
    Absent,
    Simulated
};

/// A description of the machine, as the text of a document: each of its items gives a value at the time of writing, or
/// is absent. Sensors and LEDs that could be those of well-known keys are offered in comments; identity is left out
/// rather than made up. Commands are simulated. Takes a while: every source is tried.
[[nodiscard]] BasicString WriteDescription(const Machine::MachineRoot& root, MissingParts missingParts);

} // namespace Oxa::Device::Linux::Description
