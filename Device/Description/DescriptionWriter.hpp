#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Description
{

/// How parts are described that are not found.
enum class MissingParts
{
    Absent,
    Simulated
};

/// A description of the machine, as the text of a document: each of its items gives a value at the time of writing, or
/// is absent. Comments offer further sensors and LEDs for well-known keys; an identity that the machine does not give
/// is left out. Commands are simulated. Takes a while: every source is tried.
[[nodiscard]] BasicString WriteDescription(const Machine::MachineRoot& root, MissingParts missingParts);

} // namespace Oxa::Device::Linux::Description
