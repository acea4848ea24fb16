#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::System::Rsc::Internal
{

/// Answered by every service on whatever connection.
inline constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

/// "/Oxa/Device" for the provider "Oxa.Device". Throws ArgumentException when that is no path of D-Bus.
[[nodiscard]] BasicString GetObjectPath(std::string_view providerName);

/// "A.B.IC" for "A::B::IC". Throws ArgumentException when that is no interface name of D-Bus.
[[nodiscard]] BasicString GetBusInterfaceName(std::string_view interfaceName);

} // namespace Oxa::System::Rsc::Internal
