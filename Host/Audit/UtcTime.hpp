#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <optional>
#include <string_view>

namespace Oxa::Host::Audit
{

/// "2026-11-22", "2026-11-22T10:30Z", "2026-11-22T10:30:00Z" or with a fraction of the second, of UTC, as microseconds
/// since 1970; empty for another text.
[[nodiscard]] std::optional<int64> ParseUtcTime(std::string_view text);

} // namespace Oxa::Host::Audit
