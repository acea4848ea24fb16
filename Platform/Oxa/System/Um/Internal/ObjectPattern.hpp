#pragma once

#include <string_view>

namespace Oxa::System::Um::Internal
{

/// True when the whole name fits the pattern, in which '*' stands for any run of characters. Takes at most as many
/// steps as the product of both lengths.
[[nodiscard]] bool MatchesObjectPattern(std::string_view pattern, std::string_view name) noexcept;

} // namespace Oxa::System::Um::Internal
