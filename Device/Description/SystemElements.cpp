#include "Device/Description/SourceElements.hpp"
#include "Device/Items/AbsentSource.hpp"
#include "Device/Items/BootClockSource.hpp"
#include "Device/Items/CpuCountSource.hpp"
#include "Device/Items/CpuLoadSource.hpp"
#include "Device/Items/MemorySource.hpp"
#include "Device/Items/PartitionSource.hpp"
#include "Device/Items/TemperatureSource.hpp"
#include "Device/Items/UptimeFileSource.hpp"
#include "Device/TemperatureSensor.hpp"

#include <utility>

namespace Oxa::Device::Linux::Description
{

using Items::MemorySource;
using Items::PartitionSource;

namespace
{

enum class CpuFigure
{
    Load,
    Count
};

SourceMaker ReadCpuLoad(DescriptionElement& element)
{
    BasicString word;
    element.Read("core", word);
    if (word == "each")
    {
        element.SetForEachCore();
        return [](DescribedMachine& machine)
        {
            return std::make_unique<Items::CpuLoadSource>(machine.GetCpuLoads(), machine.GetCore());
        };
    }
    std::size_t core = 0;
    element.Read("core", core, 0, Items::CpuLoads::maximumCoreCount);
    return [core](DescribedMachine& machine)
    {
        return std::make_unique<Items::CpuLoadSource>(machine.GetCpuLoads(), core);
    };
}

} // namespace

SourceMaker ReadAbsent(DescriptionElement& element)
{
    BasicString part;
    element.ReadRequired("part", part);
    return [part = std::move(part)](DescribedMachine&)
    {
        return std::make_unique<Items::AbsentSource>(part);
    };
}

SourceMaker ReadBoardTemperature(DescriptionElement&)
{
    return [](DescribedMachine& machine) -> std::unique_ptr<Items::IItemSource>
    {
        auto sensor = FindBoardTemperatureSensor(machine.GetRoot());
        if (!sensor)
        {
            return std::make_unique<Items::AbsentSource>("temperature sensor");
        }
        return std::make_unique<Items::TemperatureSource>(std::move(sensor->path), std::move(sensor->name));
    };
}

SourceMaker ReadCpu(DescriptionElement& element)
{
    CpuFigure figure = CpuFigure::Load;
    element.ReadChoice("figure", {{"load", CpuFigure::Load}, {"count", CpuFigure::Count}}, figure);
    if (figure == CpuFigure::Load)
    {
        return ReadCpuLoad(element);
    }
    return [](DescribedMachine& machine)
    {
        return std::make_unique<Items::CpuCountSource>(machine.GetCpuLoads());
    };
}

SourceMaker ReadMemory(DescriptionElement& element)
{
    using Figure = MemorySource::Figure;
    auto figure = Figure::UsagePercent;
    element.ReadChoice("figure",
                       {{"total", Figure::Total}, {"usage", Figure::Usage}, {"percent", Figure::UsagePercent}}, figure);
    return [figure](DescribedMachine& machine)
    {
        return std::make_unique<MemorySource>(machine.GetMemory(), figure);
    };
}

SourceMaker ReadPartition(DescriptionElement& element)
{
    using Figure = PartitionSource::Figure;
    auto figure = Figure::UsagePercent;
    BasicString mount = "/";
    element.ReadPath("mount", mount);
    element.ReadChoice("figure",
                       {{"total", Figure::Total}, {"usage", Figure::Usage}, {"percent", Figure::UsagePercent}}, figure);
    return [mount = std::move(mount), figure](DescribedMachine& machine)
    {
        return std::make_unique<PartitionSource>(machine.GetPartition(mount), figure);
    };
}

SourceMaker ReadUptime(DescriptionElement&)
{
    return [](DescribedMachine& machine) -> std::unique_ptr<Items::IItemSource>
    {
        if (machine.GetRoot().IsRunningMachine())
        {
            return std::make_unique<Items::BootClockSource>();
        }
        return std::make_unique<Items::UptimeFileSource>(machine.GetRoot().Resolve("/proc/uptime"));
    };
}

} // namespace Oxa::Device::Linux::Description
