#pragma once

#include <cstddef>

namespace Oxa::System::Rsc::Internal
{

/// At most so long a message may be, header included. Whoever sends a longer one is cut off.
inline constexpr std::size_t maximumMessageBytes = 262144;

/// Room for the header of a message, which names object, interface and operation.
inline constexpr std::size_t reservedHeaderBytes = 4096;

/// At most so much is written into a message behind its header.
inline constexpr std::size_t maximumBodyBytes = maximumMessageBytes - reservedHeaderBytes;

/// So many calls of one connection may be under way; another one is refused.
inline constexpr std::size_t maximumCallsPerConnection = 16;

} // namespace Oxa::System::Rsc::Internal
