#include "Device/Sources/ConstantSource.hpp"

namespace Oxa::Device::Linux::Sources
{

ConstantSource::ConstantSource(const Items::ItemValue& value) : value(value) {}

ConstantSource::~ConstantSource() = default;

Items::ItemReading ConstantSource::Read(const Items::ReadPass&)
{
    return {value, {}};
}

BasicString ConstantSource::Describe() const
{
    return "fixed value";
}

} // namespace Oxa::Device::Linux::Sources
