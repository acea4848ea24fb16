#include "Device/Items/SimulatedSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Items
{

SimulatedSource::SimulatedSource(const ItemValue& value, BasicString meaning)
    : value(value), meaning(std::move(meaning))
{
}

SimulatedSource::~SimulatedSource() = default;

ItemReading SimulatedSource::Read(const ReadPass&)
{
    return {value, {}};
}

BasicString SimulatedSource::Describe() const
{
    return "simulated: constant " + meaning;
}

bool SimulatedSource::IsSimulated() const noexcept
{
    return true;
}

} // namespace Oxa::Device::Linux::Items
