#include "Device/Sources/CpuLoadSource.hpp"

#include <fmt/format.h>

#include <utility>

namespace Oxa::Device::Linux::Sources
{

CpuLoadSource::CpuLoadSource(std::shared_ptr<const CpuLoads> loads, std::size_t core)
    : loads(std::move(loads)), core(core)
{
}

CpuLoadSource::~CpuLoadSource() = default;

Items::ItemReading CpuLoadSource::Read(const Items::ReadPass&)
{
    if (const auto percent = loads->GetPercent(core))
    {
        return Items::ItemReading::Of(*percent);
    }
    const std::size_t coreCount = loads->GetCoreCount();
    return Items::ItemReading::Missing(core > coreCount && coreCount > 0
                                           ? fmt::format("there are {} cores, none of number {}", coreCount, core)
                                           : loads->GetCause());
}

BasicString CpuLoadSource::Describe() const
{
    return fmt::format("processor core {} of {}, 0 for all", core, loads->GetPath());
}

} // namespace Oxa::Device::Linux::Sources
