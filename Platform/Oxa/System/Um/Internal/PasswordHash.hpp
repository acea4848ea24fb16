#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

/// Hashes of passwords: argon2id, in texts that hold algorithm, parameters, salt and hash. Only one is computed at a
/// time, because the memory of a controller does not suffice for several. Requires: `sodium_init` has succeeded.
/// Threads: safe from any thread. Throws: InvalidOperationException when memory is short.
namespace Oxa::System::Um::Internal
{

[[nodiscard]] BasicString HashPassword(std::string_view password);

/// Takes as long as `HashPassword`, independent of the result.
[[nodiscard]] bool VerifyPassword(const BasicString& hash, std::string_view password);

/// Takes as long as `VerifyPassword`: for a user who does not exist.
void PretendToVerifyPassword(std::string_view password);

} // namespace Oxa::System::Um::Internal
