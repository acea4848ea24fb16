#pragma once

#include "Oxa/System/Rsc/RscType.hpp"

#include <cstddef>
#include <span>

namespace Oxa::System::Rsc::Internal
{

/// Of an array's value: type of an element, dimensions, number of elements of the first one, and the elements.
inline constexpr const char* arraySignature = "(yyua(yv))";
inline constexpr const char* arrayMembersSignature = "yyua(yv)";

/// 4 or 8 for the types that cross as unsigned numbers of so many bytes; 0 for all others.
[[nodiscard]] std::size_t GetRawBytes(RscType type) noexcept;

/// How many bytes of its payload a value of the type uses.
[[nodiscard]] std::size_t GetPayloadBytes(RscType type, std::span<const char> payload) noexcept;

} // namespace Oxa::System::Rsc::Internal
