#include "Device/Items/ConstantSource.hpp"

namespace Oxa::Device::Linux::Items
{

ConstantSource::ConstantSource(const ItemValue& value) : value(value) {}

ConstantSource::~ConstantSource() = default;

ItemReading ConstantSource::Read(const ReadPass&)
{
    return {value, {}};
}

BasicString ConstantSource::Describe() const
{
    return "fixed value";
}

} // namespace Oxa::Device::Linux::Items
