#include "Device/Items/AbsentSource.hpp"

namespace Oxa::Device::Linux::Items
{

AbsentSource::AbsentSource(const BasicString& part) : cause("this machine has no " + part) {}

AbsentSource::~AbsentSource() = default;

ItemReading AbsentSource::Read(const ReadPass&)
{
    return ItemReading::Missing(cause);
}

BasicString AbsentSource::Describe() const
{
    return "none: " + cause;
}

} // namespace Oxa::Device::Linux::Items
