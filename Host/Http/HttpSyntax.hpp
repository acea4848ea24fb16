#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <optional>
#include <string_view>

// The syntax of HTTP (RFC 9110, 9112), as pure functions over untrusted text. Where the standard leaves a choice,
// ambiguous text is refused.

namespace Oxa::Host::Http
{

/// Without regard to the case of ASCII letters. Requires: no NUL.
[[nodiscard]] bool AreEqual(std::string_view left, std::string_view right) noexcept;

/// Without the spaces and tabs around it.
[[nodiscard]] std::string_view Trim(std::string_view text) noexcept;

/// What comes before the separator; `text` keeps what follows it.
[[nodiscard]] std::string_view TakeUntil(std::string_view& text, char separator) noexcept;

/// The value of the first cookie of that name in the field Cookie; empty without one.
[[nodiscard]] std::string_view FindCookie(std::string_view cookies, std::string_view name) noexcept;

/// A method or the name of a field; false for an empty text.
[[nodiscard]] bool IsToken(std::string_view text) noexcept;

/// The value of a field, with the blanks around it.
[[nodiscard]] bool IsFieldValue(std::string_view text) noexcept;

/// Any target of a request line, percent-encoded or not; it may be empty.
[[nodiscard]] bool IsTarget(std::string_view text) noexcept;

/// Host and port may both be empty.
[[nodiscard]] bool IsHostAndPort(std::string_view text) noexcept;

/// A decimal or, with base 16, a hexadecimal number, the greatest one when it is too large; empty when the text does
/// not begin with a digit. `text` keeps what follows the number.
[[nodiscard]] std::optional<uint64> TakeNumber(std::string_view& text, int base = 10) noexcept;

/// Whether one parameter of the query, as decoded text between two "&", occurs more often than that.
[[nodiscard]] bool HasRepetitions(std::string_view query, std::size_t maximum);

} // namespace Oxa::Host::Http
