#include "Oxa/Device/Interface/Services/DeviceItems.hpp"

#include <fmt/format.h>

namespace Oxa::Device::Interface::Services
{

using System::Rsc::RscArrayInformation;
using System::Rsc::RscType;

namespace
{

template <class T>
T Get(const ItemValue& value)
{
    T content = {};
    value.CopyTo(content);
    return content;
}

template <class T>
BasicString Print(const ItemValue& value)
{
    return fmt::format("{}", Get<T>(value));
}

} // namespace

BasicString FormatItemValue(const ItemValue& value)
{
    switch (value.GetType())
    {
    case RscType::Int8:
        return Print<int8>(value);
    case RscType::Uint8:
        return Print<uint8>(value);
    case RscType::Int16:
        return Print<int16>(value);
    case RscType::Uint16:
        return Print<uint16>(value);
    case RscType::Int32:
        return Print<int32>(value);
    case RscType::Uint32:
        return Print<uint32>(value);
    case RscType::Int64:
        return Print<int64>(value);
    case RscType::Uint64:
        return Print<uint64>(value);
    case RscType::Real32:
        return Print<float>(value);
    case RscType::Real64:
        return Print<double>(value);
    case RscType::Array:
    {
        const auto array = Get<RscArrayInformation>(value);
        return fmt::format("{} x {}", array.elementCount, array.elementType);
    }
    case RscType::None:
    case RscType::Void:
    case RscType::NotSet:
    case RscType::Bool:
    case RscType::String:
    case RscType::DateTime:
    case RscType::Version:
    case RscType::Guid:
        return value.ToString();
    default:
        return fmt::format("({})", value.GetType());
    }
}

} // namespace Oxa::Device::Interface::Services
