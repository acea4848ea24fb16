#pragma once

#include <cstddef>
#include <string_view>

/// What a new password must be. Threads: safe from any thread.
namespace Oxa::System::Um::Internal
{

inline constexpr std::size_t minimumPasswordCharacters = 12;
inline constexpr std::size_t maximumPasswordBytes = 1024;

/// Throws ArgumentException, without the password, when it is too short or too long, no UTF-8, or easily guessed: a
/// common password, a repeated piece, a sequence, or little more than the name of the user or of the product. There are
/// no rules about which characters it must have.
void CheckNewPassword(std::string_view userName, std::string_view password);

} // namespace Oxa::System::Um::Internal
