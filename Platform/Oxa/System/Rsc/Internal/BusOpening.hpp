#pragma once

#include "Oxa/System/Rsc/Internal/BusHandles.hpp"

namespace Oxa::System::Rsc::Internal
{

/// A bus that is not started yet. File descriptors in messages are refused: no operation takes any. Throws
/// std::system_error.
[[nodiscard]] BusHandle MakeBus();

} // namespace Oxa::System::Rsc::Internal
