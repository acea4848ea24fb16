#include "Oxa/System/Rsc/Internal/Wire/ValueEncoding.hpp"

#include "Oxa/System/Rsc/RscVariant.hpp"
#include "Oxa/System/Rsc/SecureString.hpp"

namespace Oxa::System::Rsc::Internal
{

std::size_t GetRawBytes(RscType type) noexcept
{
    switch (type)
    {
    case RscType::Uint32:
    case RscType::Time32:
    case RscType::Date32:
    case RscType::DateAndTime32:
    case RscType::TimeOfDay32:
        return sizeof(uint32);
    case RscType::Uint64:
    case RscType::DateTime:
    case RscType::Time64:
    case RscType::Date64:
    case RscType::DateAndTime64:
    case RscType::TimeOfDay64:
        return sizeof(uint64);
    default:
        return 0;
    }
}

std::size_t GetPayloadBytes(RscType type, std::span<const char> payload) noexcept
{
    switch (type)
    {
    case RscType::None:
    case RscType::Void:
    case RscType::NotSet:
        return 0;
    case RscType::String:
        return SecureStrnlen(payload.data(), payload.size());
    case RscType::Struct:
        return payload.size();
    default:
        // As many as the widest of the other types has.
        return sizeof(RscGuid);
    }
}

} // namespace Oxa::System::Rsc::Internal
