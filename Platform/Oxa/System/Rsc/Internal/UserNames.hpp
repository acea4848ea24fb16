#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <optional>

namespace Oxa::System::Rsc::Internal
{

/// "'oxa-wbm' (998)"; "998" when the system has no user of that number. Safe from any thread.
[[nodiscard]] BasicString DescribeUser(uint32 userId);

/// The number of a user by name, or given as a number; none when the system knows no such name. Safe from any thread.
[[nodiscard]] std::optional<uint32> TryFindUser(const BasicString& nameOrNumber);

} // namespace Oxa::System::Rsc::Internal
