#include "Device/Items/ItemReading.hpp"

#include "Device/Items/DeviceText.hpp"

namespace Oxa::Device::Linux::Items
{

namespace
{

// A value holds 512 bytes, one of them for the terminating NUL.
constexpr std::size_t maximumTextBytes = 511;

} // namespace

ItemReading ItemReading::OfText(std::string_view text)
{
    return {ItemValue(DeviceText::CutBetweenCharacters(text, maximumTextBytes)), {}};
}

} // namespace Oxa::Device::Linux::Items
