#include "Device/Sources/PartitionSource.hpp"

#include <fmt/format.h>

#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

PartitionSource::PartitionSource(std::shared_ptr<PartitionProbe> probe, Figure figure)
    : probe(std::move(probe)), figure(figure)
{
}

PartitionSource::~PartitionSource() = default;

Items::ItemReading PartitionSource::Read(const Items::ReadPass& pass)
{
    const PartitionUsage usage = probe->GetUsage(pass);
    if (usage.error == Machine::BoundedCalls::hangs)
    {
        return Items::ItemReading::Missing(Machine::BoundedCalls::DescribeHanging(
            fmt::format("a query of the file system at '{}'", probe->GetMountPoint())));
    }
    if (usage.error != 0)
    {
        return Items::ItemReading::Missing(fmt::format("cannot ask the file system at '{}': {}", probe->GetMountPoint(),
                                                       std::generic_category().message(usage.error)));
    }
    switch (figure)
    {
    case Figure::Total:
        return Items::ItemReading::Of(usage.totalBytes);
    case Figure::Usage:
        return Items::ItemReading::Of(usage.usedBytes);
    case Figure::UsagePercent:
        break;
    }
    return Items::ItemReading::Of(usage.usedPercent);
}

BasicString PartitionSource::Describe() const
{
    return "file system at " + probe->GetMountPoint();
}

} // namespace Oxa::Device::Linux::Sources
