#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"

#include <fmt/format.h>

namespace Oxa::Tests::Device
{

/// A value with its type, for instance "Uint8 45" or "String Run"; "NotSet" for none.
[[nodiscard]] inline BasicString ToTypedText(const Oxa::Device::Interface::Services::ItemValue& value)
{
    const bool isSet = value.GetType() != System::Rsc::RscType::NotSet;
    return fmt::format("{}{}{}", value.GetType(), isSet ? " " : "",
                       Oxa::Device::Interface::Services::FormatItemValue(value));
}

} // namespace Oxa::Tests::Device
