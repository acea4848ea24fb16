#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <vector>

namespace Oxa::System::Um
{

/// Permission bits on every object whose name matches the pattern.
struct ObjectPermission
{
    /// 1 to 512 bytes of UTF-8; '*' stands for any run of characters, also an empty one, every other character for
    /// itself.
    BasicString objectPattern;
    uint32 permission = 0;

    bool operator==(const ObjectPermission&) const = default;
};

/// A role: what its users may do. A pattern occurs once.
struct RoleInfo
{
    BasicString name;
    std::vector<ObjectPermission> permissions;

    bool operator==(const RoleInfo&) const = default;
};

} // namespace Oxa::System::Um
