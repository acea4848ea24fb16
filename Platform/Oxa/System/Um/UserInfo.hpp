#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <array>

namespace Oxa::System::Um
{

/// The roles. "Admin": everything. "Engineer": reads and executes what modules offer. "Viewer": reads.
inline constexpr const char* adminRole = "Admin";
inline constexpr const char* engineerRole = "Engineer";
inline constexpr const char* viewerRole = "Viewer";
inline constexpr std::array roleNames = {adminRole, engineerRole, viewerRole};

/// The public data of a user.
struct UserInfo
{
    BasicString name;
    BasicString roleName;

    bool operator==(const UserInfo&) const = default;
};

} // namespace Oxa::System::Um
