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

ItemOrigin IItemSource::GetOrigin() const noexcept
{
    return ItemOrigin::Measured;
}

} // namespace Oxa::Device::Linux::Items
