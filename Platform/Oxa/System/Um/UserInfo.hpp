#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um
{

/// A user as others may see it.
struct UserInfo
{
    BasicString name;
    BasicString roleName;

    bool operator==(const UserInfo&) const = default;
};

} // namespace Oxa::System::Um
