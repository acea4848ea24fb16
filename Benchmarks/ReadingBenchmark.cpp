// The reads of the device services for a page with all five sections, compared with their floor: the same preads on
// open files, the same statvfs and clocks, parsing by hand, results in the same array of values. There are two
// machines: "board" is the shipped description of a single-board computer, whose files are links to files of the
// running kernel; "pc" is the shipped description of a PC on the running machine. The counter "ratio" is services to
// floor.

#include "Benchmarks/FloorComparison.hpp"
#include "Benchmarks/ReadingFloor.hpp"
#include "Benchmarks/RefreshValues.hpp"
#include "Device/Description/DescribedMachine.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/Services/ItemService.hpp"
#include "Device/Services/RtcService.hpp"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Benchmarks;

/// The services of a described machine, called like the five sections call them.
class ServiceRefresh final
{
public:
    ServiceRefresh(const BasicString& root, const BasicString& descriptionName)
        : machine(Machine::MachineRoot(root)),
          service(std::shared_ptr<const Items::ItemTable>(
              Description::DeviceDescription::Load(OXA_DESCRIPTIONS "/" + descriptionName).MakeItems(machine))),
          keys(std::begin(singleKeys), std::end(singleKeys))
    {
        for (std::size_t core = 0; core <= GetCoreCount(); ++core)
        {
            utilization.AddKey("Status.Cpu." + std::to_string(core) + ".Load.Percent");
        }
    }

    [[nodiscard]] std::size_t GetCoreCount()
    {
        return machine.GetCpuLoads()->GetCoreCount();
    }

    void Read(Values& values)
    {
        for (std::size_t index = 0; index < keys.size(); ++index)
        {
            values.items[index] = service.ReadItem(keys[index]);
        }
        values.time = rtcService.ReadDateTime();
        leds.Read(service, &values.items[ledIndex]);
        utilization.Read(service, &values.items[memoryIndex]);
    }

private:
    Description::DescribedMachine machine;
    Services::DeviceStatusService service;
    Services::RtcService rtcService{&Services::RtcService::ReadSystemClock};
    const std::vector<ItemKey> keys;
    MultiItemReader leds{ledKeys};
    MultiItemReader utilization{utilizationKeys};
};

/// The folder of a board whose files are links to files of the running kernel with similar content.
class LinkedBoard final
{
public:
    LinkedBoard()
    {
        BasicString name = (std::filesystem::temp_directory_path() / "oxa-board-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
        {
            std::perror("cannot make a folder");
            std::exit(EXIT_FAILURE);
        }
        folder = name;
        for (const char* const path : {"/proc/meminfo", "/proc/stat", "/proc/uptime"})
        {
            Link(path, path);
        }
        for (const char* const led : {"board:green:run", "board:red:fault", "board:green:activity"})
        {
            Link(BasicString("/sys/class/leds/") + led + "/trigger", "/sys/kernel/mm/transparent_hugepage/enabled");
            Link(BasicString("/sys/class/leds/") + led + "/brightness", numberFile);
        }
        Link("/sys/class/thermal/thermal_zone0/temp", numberFile);
        std::ofstream(folder + "/sys/class/thermal/thermal_zone0/type") << "cpu-thermal\n";
    }

    LinkedBoard(const LinkedBoard&) = delete;
    LinkedBoard& operator=(const LinkedBoard&) = delete;

    ~LinkedBoard()
    {
        std::filesystem::remove_all(folder);
    }

    [[nodiscard]] const BasicString& GetFolder() const noexcept
    {
        return folder;
    }

private:
    void Link(const BasicString& path, const char* target) const
    {
        const std::filesystem::path link = folder + path;
        std::filesystem::create_directories(link.parent_path());
        std::filesystem::create_symlink(target, link);
    }

    /// 65536, or 65.5 degrees.
    static constexpr const char* numberFile = "/sys/class/net/lo/mtu";

    BasicString folder;
};

template <class Reader>
void ReadOnce(Reader& reader, Values& values)
{
    reader.Read(values);
    benchmark::ClobberMemory();
}

template <class Reader>
void Measure(benchmark::State& state, Reader& reader, Values& values)
{
    for ([[maybe_unused]] auto iteration : state)
    {
        ReadOnce(reader, values);
    }
}

/// Ends the program if floor and services read values of different types.
template <class Floor>
void RequireSameTypes(const BasicString& name, ServiceRefresh& services, const Floor& floor, Values& values)
{
    Values floorValues = values;
    services.Read(values);
    floor.Read(floorValues);
    for (std::size_t index = 0; index < values.items.size(); ++index)
    {
        if (values.items[index].GetType() != floorValues.items[index].GetType())
        {
            std::fprintf(stderr, "%s: value %zu has different types in floor and services\n", name.c_str(), index);
            std::exit(EXIT_FAILURE);
        }
    }
}

template <class Floor>
void Register(const BasicString& name, ServiceRefresh& services, const Floor& floor, Values& values)
{
    RequireSameTypes(name, services, floor, values);
    benchmark::RegisterBenchmark((name + ", floor").c_str(),
                                 [&floor, &values](benchmark::State& state) { Measure(state, floor, values); });
    benchmark::RegisterBenchmark((name + ", services").c_str(),
                                 [&services, &values](benchmark::State& state) { Measure(state, services, values); });
    benchmark::RegisterBenchmark((name + ", services to floor").c_str(),
                                 [&services, &floor, &values](benchmark::State& state)
                                 {
                                     CompareWithFloor(
                                         state, [&] { ReadOnce(services, values); }, [&] { ReadOnce(floor, values); });
                                 });
}

} // namespace

int main(int argc, char** argv)
{
    const LinkedBoard linkedBoard;
    ServiceRefresh board(linkedBoard.GetFolder(), "sbc.xml");
    const BoardFloor boardFloor(linkedBoard.GetFolder(), board.GetCoreCount());
    ServiceRefresh pc("/", "pc.xml");
    const PcFloor pcFloor(pc.GetCoreCount());
    Values values(pc.GetCoreCount());

    Register("board", board, boardFloor, values);
    Register("pc", pc, pcFloor, values);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
