#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/RoleInfo.hpp"

#include <string_view>

/// What names, passwords and roles must be. Safe from any thread.
namespace Oxa::System::Um::Internal
{

/// Whether it may be the name of a user or of a role.
[[nodiscard]] bool IsName(std::string_view text) noexcept;

[[nodiscard]] bool IsPassword(std::string_view text) noexcept;

/// Throws ArgumentException when it is no name.
void CheckName(std::string_view parameterName, std::string_view text);

/// Throws ArgumentException, without the password, when it is none.
void CheckPassword(std::string_view text);

/// Throws ArgumentException for a name or pattern that is not allowed and for a pattern that occurs twice.
void CheckRole(const RoleInfo& role);

} // namespace Oxa::System::Um::Internal
