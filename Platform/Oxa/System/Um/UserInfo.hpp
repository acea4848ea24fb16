#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <array>

namespace Oxa::System::Um
{

/// What a user may do. "Admin": everything. "Engineer": looks and executes what modules offer. "Viewer": looks.
inline constexpr const char* adminRole = "Admin";
inline constexpr const char* engineerRole = "Engineer";
inline constexpr const char* viewerRole = "Viewer";
inline constexpr std::array roleNames = {adminRole, engineerRole, viewerRole};

/// A user as others may see it.
struct UserInfo
{
    BasicString name;
    BasicString roleName;

    bool operator==(const UserInfo&) const = default;
};

} // namespace Oxa::System::Um
