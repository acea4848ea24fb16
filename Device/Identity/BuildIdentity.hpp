#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <vector>

namespace Oxa::Device::Linux::Identity
{

/// A text that changes when this shared object or one of the files changes, and is the same after every start:
/// hexadecimal digits, the linker's build id in front of a checksum of the files with their placeholders resolved. A
/// file that cannot be read counts as an empty one. Safe from any thread.
[[nodiscard]] BasicString MakeBuildIdentity(const std::vector<BasicString>& files);

} // namespace Oxa::Device::Linux::Identity
