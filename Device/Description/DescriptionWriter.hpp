#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Description
{

/// A description of the machine, as the text of a document: each of its items gives a value at the time of writing.
/// Items come from the machine where it has them, else simulated ones that say so; identity is left out rather than
/// made up. Commands are simulated. Takes a while: every source is tried.
[[nodiscard]] BasicString WriteDescription(const Machine::MachineRoot& root);

} // namespace Oxa::Device::Linux::Description
