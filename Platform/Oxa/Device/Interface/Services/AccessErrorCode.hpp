#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <fmt/ostream.h>

#include <iosfwd>

namespace Oxa::Device::Interface::Services
{

/// How a command to the device ended. The numbers are part of the protocol.
enum class AccessErrorCode : uint16
{
    None = 0,
    NotSupported = 1,
    Busy = 2,
    AccessDenied = 3,
    InvalidArgument = 4,
    TimedOut = 5,
    NotAvailable = 6,
    DeviceFault = 7
};

/// A short English text; of a number without an enumerator, "unknown error" and the number.
OXA_EXPORT std::ostream& operator<<(std::ostream& stream, AccessErrorCode code);

} // namespace Oxa::Device::Interface::Services

template <>
struct fmt::formatter<Oxa::Device::Interface::Services::AccessErrorCode> : fmt::ostream_formatter
{
};
