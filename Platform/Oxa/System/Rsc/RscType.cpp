#include "Oxa/System/Rsc/RscType.hpp"

#include <ostream>
#include <string>

namespace Oxa::System::Rsc
{

namespace
{

const char* FindName(RscType type) noexcept
{
    switch (type)
    {
    case RscType::None:
        return "None";
    case RscType::Void:
        return "Void";
    case RscType::Bool:
        return "Bool";
    case RscType::Char16:
        return "Char16";
    case RscType::Int8:
        return "Int8";
    case RscType::Uint8:
        return "Uint8";
    case RscType::Int16:
        return "Int16";
    case RscType::Uint16:
        return "Uint16";
    case RscType::Int32:
        return "Int32";
    case RscType::Uint32:
        return "Uint32";
    case RscType::Int64:
        return "Int64";
    case RscType::Uint64:
        return "Uint64";
    case RscType::Real32:
        return "Real32";
    case RscType::Real64:
        return "Real64";
    case RscType::Struct:
        return "Struct";
    case RscType::String:
        return "String";
    case RscType::Array:
        return "Array";
    case RscType::DateTime:
        return "DateTime";
    case RscType::Version:
        return "Version";
    case RscType::Guid:
        return "Guid";
    case RscType::Time32:
        return "Time32";
    case RscType::Time64:
        return "Time64";
    case RscType::Date32:
        return "Date32";
    case RscType::Date64:
        return "Date64";
    case RscType::DateAndTime32:
        return "DateAndTime32";
    case RscType::DateAndTime64:
        return "DateAndTime64";
    case RscType::TimeOfDay32:
        return "TimeOfDay32";
    case RscType::TimeOfDay64:
        return "TimeOfDay64";
    case RscType::NotSet:
        return "NotSet";
    }
    return nullptr;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, RscType type)
{
    const char* const name = FindName(type);
    return name != nullptr ? stream << name : stream << std::to_string(static_cast<unsigned>(type));
}

} // namespace Oxa::System::Rsc
