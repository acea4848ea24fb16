#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <string_view>

namespace Oxa::System::Rsc::Internal
{

/// A message may have so many bytes, header included. The server ends the connection of a caller that sends more.
inline constexpr std::size_t maximumMessageBytes = 262144;

/// Room for the header of a message, which names object, interface and operation.
inline constexpr std::size_t reservedHeaderBytes = 4096;

/// At most so much is written into a message behind its header.
inline constexpr std::size_t maximumBodyBytes = maximumMessageBytes - reservedHeaderBytes;

/// So many calls of one connection may be under way; another one is refused.
inline constexpr std::size_t maximumCallsPerConnection = 16;

/// The first call on a connection: whose services the process provides, and of which runs. For each provider its name,
/// boot id, build id, and the names of its service interfaces as D-Bus has them.
inline constexpr const char* peerPath = "/";
inline constexpr const char* peerInterface = "Oxa.System.Rsc.Peer";
inline constexpr const char* getRunsName = "GetRuns";
inline constexpr const char* runsSignature = "a(sssas)";
inline constexpr const char* runSignature = "(sssas)";
inline constexpr const char* runMembersSignature = "sssas";

/// "/Oxa/Device" for the provider "Oxa.Device". Throws ArgumentException when that is no path of D-Bus.
[[nodiscard]] BasicString GetObjectPath(std::string_view providerName);

/// "A.B.IC" for "A::B::IC". Throws ArgumentException when that is no interface name of D-Bus.
[[nodiscard]] BasicString GetBusInterfaceName(std::string_view interfaceName);

} // namespace Oxa::System::Rsc::Internal
