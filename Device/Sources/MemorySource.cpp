#include "Device/Sources/MemorySource.hpp"

#include <cmath>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

constexpr uint64 kibibyte = 1024;

} // namespace

MemorySource::MemorySource(std::shared_ptr<MemoryProbe> probe, Figure figure) : probe(std::move(probe)), figure(figure)
{
}

MemorySource::~MemorySource() = default;

Items::ItemReading MemorySource::Read(const Items::ReadPass& pass)
{
    const MemoryUsage usage = probe->GetUsage(pass);
    if (usage.totalKibibytes == 0)
    {
        return Items::ItemReading::Missing(probe->DescribeError(usage));
    }
    switch (figure)
    {
    case Figure::Total:
        return Items::ItemReading::Of(usage.totalKibibytes * kibibyte);
    case Figure::Usage:
        return Items::ItemReading::Of(usage.usedKibibytes * kibibyte);
    case Figure::UsagePercent:
        break;
    }
    const double share = static_cast<double>(usage.usedKibibytes) / static_cast<double>(usage.totalKibibytes);
    return Items::ItemReading::Of(static_cast<uint8>(std::lround(100.0 * share)));
}

BasicString MemorySource::Describe() const
{
    return "file " + probe->GetPath();
}

} // namespace Oxa::Device::Linux::Sources
