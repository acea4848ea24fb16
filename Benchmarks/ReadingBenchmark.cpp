// What the device services read when a page asks for all five sections, beside the bare floor: the same preads on
// descriptors that are open, the same statvfs, clocks and parsing by hand, the results in the same array of values. Two
// machines: "board" is the shipped description of a single-board computer, all of whose files are links to files of the
// running kernel; "pc" the shipped description of a PC, on the running machine. The counter "ratio" is services to
// floor, measured in turns.

#include "Benchmarks/ReadingFloor.hpp"
#include "Benchmarks/ServiceRefresh.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Benchmarks;

/// The folder of a board whose files are links to files of the running kernel that hold something alike.
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
void Measure(benchmark::State& state, Reader& reader, Values& values)
{
    for ([[maybe_unused]] auto iteration : state)
    {
        reader.Read(values);
        benchmark::ClobberMemory();
    }
}

double GetThreadSeconds()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Of processor time, so that other programs do not count.
template <class Reader>
double MeasureSeconds(Reader& reader, Values& values)
{
    const double start = GetThreadSeconds();
    for (int round = 0; round < 200; ++round)
    {
        reader.Read(values);
        benchmark::ClobberMemory();
    }
    return GetThreadSeconds() - start;
}

double GetMedian(std::vector<double> numbers)
{
    const auto middle = numbers.begin() + static_cast<std::ptrdiff_t>(numbers.size() / 2);
    std::nth_element(numbers.begin(), middle, numbers.end());
    return *middle;
}

/// Both in turns, so that whatever else the machine does meets both alike.
template <class Floor>
void Compare(benchmark::State& state, ServiceRefresh& services, const Floor& floor, Values& values)
{
    std::vector<double> ratios;
    for ([[maybe_unused]] auto iteration : state)
    {
        const double seconds = MeasureSeconds(services, values);
        ratios.push_back(seconds / MeasureSeconds(floor, values));
    }
    state.counters["ratio"] = GetMedian(std::move(ratios));
}

/// Ends the program when the floor does not read what the services read.
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
            std::fprintf(stderr, "%s: value %zu of the floor is another than the services'\n", name.c_str(), index);
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
                                 { Compare(state, services, floor, values); });
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
