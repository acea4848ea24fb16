#include "Device/Sources/CpuCountSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Sources
{

CpuCountSource::CpuCountSource(std::shared_ptr<const CpuLoads> loads) : loads(std::move(loads)) {}

CpuCountSource::~CpuCountSource() = default;

Items::ItemReading CpuCountSource::Read(const Items::ReadPass&)
{
    const uint8 count = loads->GetCoreCount();
    return count != 0 ? Items::ItemReading::Of(count) : Items::ItemReading::Missing(loads->GetCause());
}

BasicString CpuCountSource::Describe() const
{
    return "processor cores in " + loads->GetPath();
}

} // namespace Oxa::Device::Linux::Sources
