#pragma once

#include <string_view>

/// The host's own routes below "/api/v1/". No data provider can have one of these names.
namespace Oxa::Host::RouteNames
{

inline constexpr std::string_view session = "session";
inline constexpr std::string_view pages = "pages";
inline constexpr std::string_view boot = "boot";

[[nodiscard]] constexpr bool IsReserved(std::string_view name) noexcept
{
    return name == session || name == pages || name == boot;
}

} // namespace Oxa::Host::RouteNames
