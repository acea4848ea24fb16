#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <systemd/sd-bus.h>

#include <cstddef>
#include <exception>
#include <string_view>

namespace Oxa::System::Rsc::Internal
{

/// Of a message, header included. The server ends the connection of a caller that sends more.
inline constexpr std::size_t maximumMessageBytes = 262144;

/// Of a message behind its header, which names object, interface and operation.
inline constexpr std::size_t maximumBodyBytes = maximumMessageBytes - 4096;

/// In progress at the same time; the server refuses a further one.
inline constexpr std::size_t maximumCallsPerConnection = 16;

/// The operation that reports what a process provides: for each provider its name, boot id, build id, and the names of
/// its service interfaces as D-Bus has them.
inline constexpr const char* peerPath = "/";
inline constexpr const char* peerInterface = "Oxa.System.Rsc.Peer";
inline constexpr const char* getRunsName = "GetRuns";
inline constexpr const char* runsSignature = "a(sssas)";
inline constexpr const char* runSignature = "(sssas)";
inline constexpr const char* runMembersSignature = "sssas";

/// How a variant crosses, inside `RscMessageWriter::valueSignature`: its type tag, then its value in a readable type of
/// D-Bus; as bytes when it has no type of its own there, or is a text that is no UTF-8.
inline constexpr const char* valueMembersSignature = "yv";
inline constexpr const char* bytesSignature = "ay";

/// Of an array's value: type of an element, dimensions, number of elements of the first one, and the elements.
inline constexpr const char* arraySignature = "(yyua(yv))";
inline constexpr const char* arrayMembersSignature = "yyua(yv)";

/// The only width of variants in which the elements of arrays of arrays are read and written.
inline constexpr std::size_t subarrayBytes = 512;

/// The basic type of D-Bus whose values have the same bytes as those of the type; NUL when there is none.
[[nodiscard]] char GetBusType(RscType type) noexcept;

/// "/Oxa/Device" for the provider "Oxa.Device". Throws ArgumentException when that is no path of D-Bus.
[[nodiscard]] BasicString GetObjectPath(std::string_view providerName);

/// "A.B.IC" for "A::B::IC". Throws ArgumentException when that is no interface name of D-Bus.
[[nodiscard]] BasicString GetBusInterfaceName(std::string_view interfaceName);

/// Of the errors with which the server itself responds, beside those of D-Bus.
inline constexpr const char* refusedErrorName = "Oxa.System.Rsc.Error.Refused";

/// A service's exception as it crosses.
struct BusError
{
    const char* name;
    BasicString message;
};

/// The error that stands for an exception: the name for its type, its message as UTF-8.
[[nodiscard]] BusError DescribeException(const std::exception_ptr& exception);

/// Throws what an error stands for: the service's exception as what it was, or a fault of the layer with the cause
/// alone.
[[noreturn]] void ThrowBusError(const sd_bus_error& error);

} // namespace Oxa::System::Rsc::Internal
