#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::Host
{

/// "http://ADDRESS:PORT", with brackets around an address of IP version 6.
[[nodiscard]] BasicString FormatAddress(std::string_view ipAddress, uint16 port);

/// Shell commands that log in with the first password and use the interface.
[[nodiscard]] BasicString FormatExamples(std::string_view address, std::string_view passwordPath);

} // namespace Oxa::Host
