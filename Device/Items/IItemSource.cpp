#include "Device/Items/IItemSource.hpp"

#include "Oxa/System/Commons/Text.hpp"

namespace Oxa::Device::Linux::Items
{

ItemReading ItemReading::OfText(std::string_view text)
{
    return {ItemValue(System::Commons::Text::Truncate(text, maximumTextBytes)), {}};
}

IItemSource::~IItemSource() = default;

Simulation IItemSource::GetSimulation() const noexcept
{
    return Simulation::Never;
}

} // namespace Oxa::Device::Linux::Items
