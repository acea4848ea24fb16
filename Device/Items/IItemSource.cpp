#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Items
{

IItemSource::~IItemSource() = default;

bool IItemSource::IsSimulated() const noexcept
{
    return false;
}

bool IItemSource::IsSimulatedAtTimes() const noexcept
{
    return false;
}

} // namespace Oxa::Device::Linux::Items
