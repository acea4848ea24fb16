#pragma once

#include <string_view>

/// What people choose when a password is asked for. The texts to look up are in lower case. Threads: safe from any
/// thread.
namespace Oxa::System::Um::Internal
{

/// Whether the text is a common password, or a word that common passwords consist of. It has no digits or signs at its
/// ends, unless it has nothing else.
[[nodiscard]] bool IsCommonPassword(std::string_view text) noexcept;

/// Whether the text is a part of the alphabet, of the digits or of neighbouring keys, forwards or backwards, with at
/// least 4 characters.
[[nodiscard]] bool IsKeySequence(std::string_view text) noexcept;

} // namespace Oxa::System::Um::Internal
