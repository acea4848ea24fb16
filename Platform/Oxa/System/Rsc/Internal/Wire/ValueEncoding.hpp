#pragma once

#include "Oxa/System/Rsc/RscType.hpp"

#include <cstddef>
#include <span>

namespace Oxa::System::Rsc::Internal
{

/// How a variant crosses, in the notation of D-Bus: its type tag, then its value in the type of the bus that people can
/// read. Public as `RscMessageWriter::valueSignature`.
inline constexpr const char* valueSignature = "(yv)";
inline constexpr const char* valueMembersSignature = "yv";

/// The value of one that has no type of its own on the bus, and of a text that is no UTF-8.
inline constexpr const char* bytesSignature = "ay";

/// Of an array's value: type of an element, dimensions, number of elements of the first one, and the elements.
inline constexpr const char* arraySignature = "(yyua(yv))";
inline constexpr const char* arrayMembersSignature = "yyua(yv)";

/// The only width of variants in which the elements of arrays of arrays are read and written.
inline constexpr std::size_t subarrayBytes = 512;

/// 4 or 8 for the types that cross as unsigned numbers of so many bytes; 0 for all others.
[[nodiscard]] std::size_t GetRawBytes(RscType type) noexcept;

/// How many bytes of its payload a value of the type needs at most: a text up to its NUL, all of a structure, 16 for
/// every scalar, whatever its width.
[[nodiscard]] std::size_t GetPayloadBytes(RscType type, std::span<const char> payload) noexcept;

} // namespace Oxa::System::Rsc::Internal
