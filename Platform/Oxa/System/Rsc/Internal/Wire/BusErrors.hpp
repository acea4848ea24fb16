#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <systemd/sd-bus.h>

#include <exception>
#include <string_view>

namespace Oxa::System::Rsc::Internal
{

/// Names of errors that the server itself answers with, beside those of D-Bus.
inline constexpr const char* notAvailableErrorName = "Oxa.System.Rsc.Error.NotAvailable";
inline constexpr const char* refusedErrorName = "Oxa.System.Rsc.Error.Refused";

/// A service's exception as it crosses.
struct BusError
{
    const char* name;
    BasicString message;
};

/// What a caught exception is on the bus: the name for its type, its message as UTF-8. Never throws anything but for
/// want of memory.
[[nodiscard]] BusError DescribeException(const std::exception_ptr& exception);

/// Throws what an error answer stands for: the service's exception as what it was, or a fault of the layer with the
/// cause alone.
[[noreturn]] void ThrowBusError(const sd_bus_error& error);

/// For what a function of sd-bus returns: throws InvalidOperationException, "what: cause", when it is negative.
void RequireSuccess(int result, std::string_view what);

} // namespace Oxa::System::Rsc::Internal
