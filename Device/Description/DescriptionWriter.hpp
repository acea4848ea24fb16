#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Description
{

/// A description of the machine, as the text of a document: each of its items gives a value at the time of writing, or
/// is absent, or simulated when asked for. Comments offer further sensors and LEDs for well-known keys; an identity
/// that the machine does not give is left out. Commands are simulated. Takes a while: every source is tried.
[[nodiscard]] BasicString WriteDescription(const Machine::MachineRoot& root, bool simulatesMissingParts);

} // namespace Oxa::Device::Linux::Description
