#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"

#include <fmt/format.h>

namespace Oxa::Tests::Device
{

/// A value with its type, for instance "Uint8 45" or "String Run"; "NotSet" for none.
[[nodiscard]] inline BasicString ToTypedText(const Oxa::Device::Interface::Services::ItemValue& value)
{
    using System::Rsc::RscType;
    const auto print = [&value](auto number)
    {
        value.CopyTo(number);
        return fmt::format("{} {}", value.GetType(), number);
    };
    switch (value.GetType())
    {
    case RscType::Int8:
        return print(int8());
    case RscType::Uint8:
        return print(uint8());
    case RscType::Uint32:
        return print(uint32());
    case RscType::Uint64:
        return print(uint64());
    case RscType::Real64:
        return print(double());
    case RscType::NotSet:
        return "NotSet";
    default:
        return fmt::format("{} {}", value.GetType(), value.ToString());
    }
}

} // namespace Oxa::Tests::Device
