#include "Device/Description/SystemElements.hpp"

#include "Device/Sources/CpuLoads.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Device/Sources/FileSource.hpp"
#include "Device/Sources/MemorySource.hpp"
#include "Device/Sources/PartitionSource.hpp"
#include "Device/Sources/SensorSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Description
{

using Sources::MemorySource;
using Sources::PartitionSource;

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
    if (element.Read("core", word) && word == "each")
    {
        element.SetForEachCore();
        return [](DescribedMachine& machine)
        {
            return std::make_unique<Sources::CpuLoadSource>(machine.GetCpuLoads(), machine.GetCore());
        };
    }
    std::size_t core = 0;
    if (!element.IsBad("core"))
    {
        element.Read("core", core, 0, Sources::CpuLoads::maximumCoreCount);
    }
    return [core](DescribedMachine& machine)
    {
        return std::make_unique<Sources::CpuLoadSource>(machine.GetCpuLoads(), core);
    };
}

} // namespace

SourceMaker ReadAbsent(DescriptionElement& element)
{
    BasicString part;
    element.ReadRequired("part", part);
    return [part = std::move(part)](DescribedMachine&)
    {
        return std::make_unique<Sources::AbsentSource>(part);
    };
}

SourceMaker ReadBoardTemperature(DescriptionElement&)
{
    return [](DescribedMachine& machine) -> std::unique_ptr<Items::IItemSource>
    {
        auto sensors = Sources::FindTemperatureSensors(machine.GetRoot(), 1);
        if (sensors.empty())
        {
            return std::make_unique<Sources::AbsentSource>("temperature sensor");
        }
        return std::make_unique<Sources::SensorSource>(std::move(sensors.front()));
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
    element.RefuseWith("figure", "count", {"core"});
    return [](DescribedMachine& machine)
    {
        return std::make_unique<Sources::CpuCountSource>(machine.GetCpuLoads());
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
    // Whole seconds; the digits behind the point must be digits, too.
    BasicString fault;
    const auto pattern = Sources::LinePattern::TryMake(R"(^([0-9]+)(?:\.[0-9]+)?(?: |$))", fault);
    return [pattern](DescribedMachine& machine)
    {
        return std::make_unique<Sources::FileSource>(
            machine.GetFile("/proc/uptime"),
            Sources::FileSource::Options{.pattern = pattern, .type = System::Rsc::RscType::Uint64});
    };
}

} // namespace Oxa::Device::Linux::Description
