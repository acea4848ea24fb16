#include "Device/Sources/AbsentSource.hpp"

namespace Oxa::Device::Linux::Sources
{

AbsentSource::AbsentSource(const BasicString& part) : cause("this machine has no " + part) {}

AbsentSource::~AbsentSource() = default;

Items::ItemReading AbsentSource::Read(const Items::ReadPass&)
{
    return Items::ItemReading::Missing(cause);
}

BasicString AbsentSource::Describe() const
{
    return "none: " + cause;
}

} // namespace Oxa::Device::Linux::Sources
