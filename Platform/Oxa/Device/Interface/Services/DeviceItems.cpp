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

/// Whether the value is a number of one of the types.
template <class... T>
bool TryPrint(const ItemValue& value, BasicString& text)
{
    const auto tryOne = [&value, &text]<class Number>(Number /*type*/)
    {
        const bool isNumber = value.GetType() == System::Rsc::Internal::RscTypeOf<Number>::value;
        text = isNumber ? fmt::format("{}", Get<Number>(value)) : "";
        return isNumber;
    };
    return (tryOne(T()) || ...);
}

} // namespace

BasicString FormatItemValue(const ItemValue& value)
{
    BasicString text;
    if (TryPrint<int8, uint8, int16, uint16, int32, uint32, int64, uint64, float, double>(value, text))
    {
        return text;
    }
    switch (value.GetType())
    {
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
