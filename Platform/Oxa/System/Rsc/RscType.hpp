#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <fmt/ostream.h>

#include <iosfwd>

namespace Oxa::System::Rsc
{

/// The type tag of a value that crosses a service boundary. The numbers are part of the protocol.
enum class RscType : uint8
{
    None = 0,
    Void = 1,
    Bool = 2,
    Char16 = 3,
    Int8 = 4,
    Uint8 = 5,
    Int16 = 6,
    Uint16 = 7,
    Int32 = 8,
    Uint32 = 9,
    Int64 = 10,
    Uint64 = 11,
    Real32 = 12,
    Real64 = 13,
    Struct = 18,
    String = 19,
    Array = 20,
    DateTime = 23,
    Version = 24,
    Guid = 25,
    Time32 = 41,
    Time64 = 42,
    Date32 = 43,
    Date64 = 44,
    DateAndTime32 = 45,
    DateAndTime64 = 46,
    TimeOfDay32 = 47,
    TimeOfDay64 = 48,
    /// The tag of a variant that has not been filled.
    NotSet = 255
};

/// Whether values of the type are scalars of at most 8 bytes, as the elements of an array may be.
[[nodiscard]] constexpr bool IsPrimitive(RscType type) noexcept
{
    return (type >= RscType::Bool && type <= RscType::Real64) ||
           (type >= RscType::Time32 && type <= RscType::TimeOfDay64);
}

/// The enumerator's name; of a number without one, the number.
OXA_EXPORT std::ostream& operator<<(std::ostream& stream, RscType type);

} // namespace Oxa::System::Rsc

template <>
struct fmt::formatter<Oxa::System::Rsc::RscType> : fmt::ostream_formatter
{
};
