#pragma once

#include "Oxa/System/Commons/Export.hpp"

namespace Oxa::System::Commons
{

/// Gives memory back that only the start of the program needed: what the allocator holds in reserve, and the parts of
/// program and libraries in memory, of which reading the configuration touched far more than serving does. Whatever is
/// used again is there again: the kernel takes it from its file. To be called once, when everything has started.
OXA_EXPORT void ReleaseStartupMemory() noexcept;

} // namespace Oxa::System::Commons
