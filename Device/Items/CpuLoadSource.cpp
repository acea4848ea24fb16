#include "Device/Items/CpuLoadSource.hpp"

#include <fmt/format.h>

#include <utility>

namespace Oxa::Device::Linux::Items
{

CpuLoadSource::CpuLoadSource(std::shared_ptr<const CpuLoads> loads, std::size_t core)
    : loads(std::move(loads)), core(core)
{
}

CpuLoadSource::~CpuLoadSource() = default;

ItemReading CpuLoadSource::Read(const ReadPass&)
{
    const auto percent = loads->GetPercent(core);
    return percent ? ItemReading::Of(*percent) : ItemReading::Missing(loads->GetCause());
}

BasicString CpuLoadSource::Describe() const
{
    return fmt::format("processor core {} of {}, 0 for all", core, loads->GetPath());
}

} // namespace Oxa::Device::Linux::Items
