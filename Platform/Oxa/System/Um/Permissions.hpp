#pragma once

#include "Oxa/System/Commons/Types.hpp"

/// The permission bits that roles hold on objects, the same for those who ask and those who answer.
namespace Oxa::System::Um
{

/// To run a request that changes something.
inline constexpr uint32 executePermission = 0x1000;

} // namespace Oxa::System::Um
