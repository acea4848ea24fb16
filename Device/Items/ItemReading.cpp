#include "Device/Items/ItemReading.hpp"

#include "Device/Items/DeviceText.hpp"

namespace Oxa::Device::Linux::Items
{

ItemReading ItemReading::OfText(std::string_view text)
{
    return {ItemValue(DeviceText::CutBetweenCharacters(text, maximumTextBytes)), {}};
}

} // namespace Oxa::Device::Linux::Items
