#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <cstddef>

namespace Oxa::System::Rsc
{

/// The length of a text up to its NUL, at most `maximum`. Reads no byte beyond that.
[[nodiscard]] OXA_EXPORT std::size_t SecureStrnlen(const char* text, std::size_t maximum) noexcept;

/// Copies at most `count` characters of `source` and always terminates `destination`, cutting off what has no room.
/// Requires: `destinationBytes` is not 0. Returns how many characters were copied.
OXA_EXPORT std::size_t SecureStrncpy(char* destination, std::size_t destinationBytes, const char* source,
                                     std::size_t count) noexcept;

} // namespace Oxa::System::Rsc
