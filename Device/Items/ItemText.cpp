#include "Device/Items/ItemText.hpp"

#include "Device/Items/ItemTypeWords.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <fmt/format.h>

namespace Oxa::Device::Linux::Items
{

using Oxa::Device::Interface::Services::FormatItemValue;
using System::Commons::Text::EscapeControlCharacters;
using System::Rsc::RscType;

BasicString FormatItem(std::string_view key, const ItemValue& value)
{
    const BasicString name = EscapeControlCharacters(key);
    if (value.GetType() == RscType::NotSet)
    {
        return name + " has no value";
    }
    return fmt::format("{} = {} ({})", name, EscapeControlCharacters(FormatItemValue(value)),
                       GetItemTypeWord(value.GetType()));
}

} // namespace Oxa::Device::Linux::Items
