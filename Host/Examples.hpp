#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::Host
{

class StateFolder;

/// "http://ADDRESS:PORT", with brackets around an address of IP version 6.
[[nodiscard]] BasicString FormatAddress(std::string_view ipAddress, uint16 port);

/// Where and as whom to log in, and shell commands that do it and use the interface. Names the first password as long
/// as it is kept. `logPath`: empty when the configuration decides where the log goes.
[[nodiscard]] BasicString FormatExamples(std::string_view address, const StateFolder& stateFolder,
                                         std::string_view logPath);

} // namespace Oxa::Host
