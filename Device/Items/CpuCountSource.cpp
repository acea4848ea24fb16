#include "Device/Items/CpuCountSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Items
{

CpuCountSource::CpuCountSource(std::shared_ptr<const CpuLoads> loads) : loads(std::move(loads)) {}

CpuCountSource::~CpuCountSource() = default;

ItemReading CpuCountSource::Read(const ReadPass&)
{
    const uint8 count = loads->GetCoreCount();
    return count != 0 ? ItemReading::Of(count) : ItemReading::Missing(loads->GetCause());
}

BasicString CpuCountSource::Describe() const
{
    return "processor cores in " + loads->GetPath();
}

} // namespace Oxa::Device::Linux::Items
