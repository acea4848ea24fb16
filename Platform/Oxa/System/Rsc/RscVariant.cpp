#include "Oxa/System/Rsc/RscVariant.hpp"

#include <fmt/format.h>

#include <ostream>
#include <string>
#include <utility>

namespace Oxa::System::Rsc
{

namespace
{

constexpr std::pair<RscType, const char*> typeNames[] = {
    {RscType::None, "None"},
    {RscType::Void, "Void"},
    {RscType::Bool, "Bool"},
    {RscType::Char16, "Char16"},
    {RscType::Int8, "Int8"},
    {RscType::Uint8, "Uint8"},
    {RscType::Int16, "Int16"},
    {RscType::Uint16, "Uint16"},
    {RscType::Int32, "Int32"},
    {RscType::Uint32, "Uint32"},
    {RscType::Int64, "Int64"},
    {RscType::Uint64, "Uint64"},
    {RscType::Real32, "Real32"},
    {RscType::Real64, "Real64"},
    {RscType::Struct, "Struct"},
    {RscType::String, "String"},
    {RscType::Array, "Array"},
    {RscType::DateTime, "DateTime"},
    {RscType::Version, "Version"},
    {RscType::Guid, "Guid"},
    {RscType::Time32, "Time32"},
    {RscType::Time64, "Time64"},
    {RscType::Date32, "Date32"},
    {RscType::Date64, "Date64"},
    {RscType::DateAndTime32, "DateAndTime32"},
    {RscType::DateAndTime64, "DateAndTime64"},
    {RscType::TimeOfDay32, "TimeOfDay32"},
    {RscType::TimeOfDay64, "TimeOfDay64"},
    {RscType::NotSet, "NotSet"},
};

} // namespace

std::ostream& operator<<(std::ostream& stream, RscType type)
{
    for (const auto& [known, name] : typeNames)
    {
        if (known == type)
        {
            return stream << name;
        }
    }
    return stream << std::to_string(static_cast<unsigned>(type));
}

namespace Internal
{

BasicString FormatVersion(const RscVersion& version)
{
    return fmt::format("{}", fmt::join(version, "."));
}

BasicString FormatGuid(const RscGuid& guid)
{
    BasicString text;
    for (std::size_t index = 0; index < guid.size(); ++index)
    {
        const bool isGroupStart = index == 4 || index == 6 || index == 8 || index == 10;
        text += fmt::format("{}{:02x}", isGroupStart ? "-" : "", guid.at(index));
    }
    return text;
}

} // namespace Internal

} // namespace Oxa::System::Rsc
