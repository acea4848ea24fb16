#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <fmt/format.h>

#include <cstddef>
#include <string_view>
#include <typeinfo>

/// Text helpers. Safe from any thread.
namespace Oxa::System::Commons::Text
{

/// Fills the placeholders {0}, {1}, … of a template that is only known at run time.
/// Throws fmt::format_error when template and arguments do not match.
template <class... Args>
[[nodiscard]] BasicString Format(std::string_view messageTemplate, const Args&... args)
{
    return fmt::vformat(fmt::string_view(messageTemplate.data(), messageTemplate.size()),
                        fmt::make_format_args(args...));
}

[[nodiscard]] OXA_EXPORT bool IsValidUtf8(std::string_view text) noexcept;

/// Replaces every byte outside a well-formed UTF-8 sequence by U+FFFD; the result is valid UTF-8.
[[nodiscard]] OXA_EXPORT BasicString ReplaceInvalidUtf8(std::string_view text);

/// True for valid UTF-8 without control characters, line separators, characters that control the direction of writing,
/// and those of no width.
[[nodiscard]] OXA_EXPORT bool IsPlain(std::string_view text) noexcept;

/// One line that can be logged, in valid UTF-8: bytes that are no UTF-8 and ASCII control characters become \xNN, other
/// characters that `IsPlain` refuses \uNNNN.
[[nodiscard]] OXA_EXPORT BasicString EscapeControlCharacters(std::string_view text);

/// Equal for texts that differ only in the case of letters, one by one, of any alphabet. For comparing, not for
/// showing.
[[nodiscard]] OXA_EXPORT BasicString FoldCase(std::string_view text);

/// At most the first `maximumBytes` of the text; a UTF-8 character is kept whole or left out. The view is one of
/// `text`.
[[nodiscard]] OXA_EXPORT std::string_view Truncate(std::string_view text, std::size_t maximumBytes) noexcept;

/// The fully qualified name of a type as it is written in source code.
[[nodiscard]] OXA_EXPORT BasicString GetTypeName(const std::type_info& type);

} // namespace Oxa::System::Commons::Text
