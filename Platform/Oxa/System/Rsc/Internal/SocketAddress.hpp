#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>

namespace Oxa::System::Rsc::Internal
{

/// The address of a Unix socket; none when the path is too long for one.
[[nodiscard]] std::optional<sockaddr_un> TryMakeSocketAddress(const BasicString& path) noexcept;

/// As `connect` and `bind` take it. Valid as long as `address`.
[[nodiscard]] const sockaddr* AsGeneralAddress(const sockaddr_un& address) noexcept;

} // namespace Oxa::System::Rsc::Internal
