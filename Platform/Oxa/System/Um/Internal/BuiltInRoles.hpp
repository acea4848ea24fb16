#pragma once

#include "Oxa/System/Um/RoleInfo.hpp"

#include <string_view>
#include <vector>

namespace Oxa::System::Um::Internal
{

/// The roles that every user database has. Safe from any thread.
[[nodiscard]] std::vector<RoleInfo> GetBuiltInRoles();

[[nodiscard]] bool IsBuiltInRole(std::string_view roleName) noexcept;

} // namespace Oxa::System::Um::Internal
