#include "Device/Items/ItemReading.hpp"

#include "Oxa/System/Commons/Text.hpp"

namespace Oxa::Device::Linux::Items
{

ItemReading ItemReading::OfText(std::string_view text)
{
    return {ItemValue(System::Commons::Text::Truncate(text, maximumTextBytes)), {}};
}

} // namespace Oxa::Device::Linux::Items
