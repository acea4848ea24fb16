// What the device services read when a page asks for all five sections, beside the bare floor: the same preads on
// descriptors that are open, the same statvfs, clocks and parsing by hand, the results in the same array of values. Two
// machines: "board" is the shipped description of a single-board computer, all of whose files are links to files of the
// running kernel; "pc" the shipped description of a PC, on the running machine. The counter "ratio" is services to
// floor, measured in turns.

#include "Device/Description/DescribedMachine.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/Services/ItemService.hpp"
#include "Device/Services/RtcService.hpp"
#include "Device/Sources/BoardTemperature.hpp"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Device::Linux;
using Oxa::Device::Interface::Services::ItemKey;
using Oxa::Device::Interface::Services::ItemValue;
using Oxa::Device::Interface::Services::ReadItemValuesDelegate;
using Oxa::Device::Interface::Services::WriteItemKeysDelegate;
using System::Rsc::IRscReadEnumerator;
using System::Rsc::IRscWriteEnumerator;

// As the sections name them, and in their order.
constexpr const char* singleKeys[] = {"General.SPNS.Firmware.Version", "General.SPNS.Fpga.Version",
                                      "Status.System.UpTime.Seconds", "Status.Board.Temperature.Centigrade"};
constexpr const char* ledKeys[] = {
    "Status.Leds.Pnio.Bf_C",   "Status.Leds.Runtime.Run",   "Status.Leds.Pnio.Bf_D", "Status.Leds.Runtime.Fail",
    "Status.Leds.Pnio.Sf",     "Status.Leds.Runtime.Debug", "Status.Leds.Zelo.D",    "Status.Leds.Zelo.E",
    "Status.Leds.Runtime.Ext", "Status.Leds.Safety.Run",    "Status.Leds.Safety.Fs",
};
constexpr const char* utilizationKeys[] = {"Status.Memory.Usage.Percent.Actual", "Status.UserPartition.Total",
                                           "Status.UserPartition.Usage", "Status.UserPartition.Usage.Percent"};

// Where the values lie in the array.
constexpr std::size_t upTimeIndex = 2;
constexpr std::size_t temperatureIndex = 3;
constexpr std::size_t ledIndex = std::size(singleKeys);
constexpr std::size_t runLedIndex = ledIndex + 1;
constexpr std::size_t failLedIndex = ledIndex + 3;
constexpr std::size_t externalLedIndex = ledIndex + 8;
constexpr std::size_t memoryIndex = ledIndex + std::size(ledKeys);
constexpr std::size_t partitionIndex = memoryIndex + 1;
constexpr std::size_t loadIndex = partitionIndex + 3;

/// What one refresh gives.
struct Values
{
    explicit Values(std::size_t coreCount) : items(loadIndex + 1 + coreCount) {}

    std::vector<ItemValue> items;
    DateTime time;
};

/// A multi-item read of some keys into a piece of the array.
class MultiItemReader final
{
public:
    MultiItemReader() = default;
    MultiItemReader(const MultiItemReader&) = delete;
    MultiItemReader& operator=(const MultiItemReader&) = delete;

    void AddKey(const BasicString& key)
    {
        keys.emplace_back(key);
    }

    void Read(Services::DeviceStatusService& service, ItemValue* first)
    {
        next = first;
        service.ReadItems(writeKeys, readValues);
    }

private:
    void WriteKeys(IRscWriteEnumerator<ItemKey>& enumerator) const
    {
        enumerator.BeginWrite(keys.size());
        for (const ItemKey& key : keys)
        {
            enumerator.WriteNext(key);
        }
        enumerator.EndWrite();
    }

    void ReadValues(IRscReadEnumerator<ItemValue>& enumerator)
    {
        for (std::size_t count = enumerator.BeginRead(); count > 0; --count)
        {
            (void)enumerator.ReadNext(*next++);
        }
        enumerator.EndRead();
    }

    std::vector<ItemKey> keys;
    ItemValue* next = nullptr;
    const WriteItemKeysDelegate writeKeys = WriteItemKeysDelegate::Bind(*this, &MultiItemReader::WriteKeys);
    const ReadItemValuesDelegate readValues = ReadItemValuesDelegate::Bind(*this, &MultiItemReader::ReadValues);
};

/// The services of a described machine, asked as the five sections ask them.
class ServiceRefresh final
{
public:
    ServiceRefresh(const BasicString& root, const BasicString& descriptionName)
        : machine(Machine::MachineRoot(root)),
          service(std::shared_ptr<const Items::ItemTable>(
              Description::DeviceDescription::Load(OXA_DESCRIPTIONS "/" + descriptionName).MakeItems(machine))),
          keys(std::begin(singleKeys), std::end(singleKeys))
    {
        for (const char* const key : ledKeys)
        {
            leds.AddKey(key);
        }
        for (const char* const key : utilizationKeys)
        {
            utilization.AddKey(key);
        }
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
    MultiItemReader leds;
    MultiItemReader utilization;
};

/// A file that is open, and its text.
class BareFile final
{
public:
    explicit BareFile(const BasicString& path) : descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

    BareFile(const BareFile&) = delete;
    BareFile& operator=(const BareFile&) = delete;

    ~BareFile()
    {
        close(descriptor);
    }

    [[nodiscard]] std::string_view Read(std::span<char> buffer) const noexcept
    {
        const ssize_t size = pread(descriptor, buffer.data(), buffer.size(), 0);
        return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

private:
    const int descriptor;
};

template <class T>
T ParseFirst(std::string_view text) noexcept
{
    T number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

int64 ReadNumber(const BareFile& file) noexcept
{
    std::array<char, 64> buffer;
    return ParseFirst<int64>(file.Read(buffer));
}

/// The number behind the blanks behind a name.
uint64 FindNumber(std::string_view text, std::string_view name) noexcept
{
    const std::size_t start = text.find(name);
    if (start == std::string_view::npos)
    {
        return 0;
    }
    text.remove_prefix(start + name.size());
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return ParseFirst<uint64>(text);
}

/// What both machines have: memory, file system, loads and the time.
class CommonFloor final
{
public:
    CommonFloor(const BasicString& root, std::size_t coreCount)
        : memoryFile(root + "/proc/meminfo"), mountPoint(root + "/"), loads(coreCount + 1)
    {
    }

    void Read(Values& values) const
    {
        timespec time = {};
        clock_gettime(CLOCK_REALTIME, &time);
        values.time = DateTime::FromUnixTimeMicroseconds(int64{time.tv_sec} * 1'000'000 + time.tv_nsec / 1'000);
        values.items[memoryIndex] = ItemValue(ReadMemoryPercent());
        ReadPartition(values);
        for (std::size_t core = 0; core < loads.size(); ++core)
        {
            values.items[loadIndex + core] = ItemValue(loads[core]);
        }
    }

private:
    [[nodiscard]] uint8 ReadMemoryPercent() const noexcept
    {
        std::array<char, 256> buffer;
        const std::string_view text = memoryFile.Read(buffer);
        const double total = static_cast<double>(FindNumber(text, "MemTotal:"));
        const double available = static_cast<double>(FindNumber(text, "MemAvailable:"));
        return static_cast<uint8>(std::lround(100.0 * (total - available) / total));
    }

    void ReadPartition(Values& values) const
    {
        struct statvfs status = {};
        statvfs(mountPoint.c_str(), &status);
        const uint64 used = status.f_blocks - status.f_bfree;
        const uint64 usable = used + status.f_bavail;
        values.items[partitionIndex] = ItemValue(uint64{status.f_blocks * status.f_frsize});
        values.items[partitionIndex + 1] = ItemValue(uint64{used * status.f_frsize});
        values.items[partitionIndex + 2] = ItemValue(static_cast<uint8>((used * 100 + usable - 1) / usable));
    }

    const BareFile memoryFile;
    const BasicString mountPoint;
    /// A sampler's: they are only handed on.
    const std::vector<uint8> loads;
};

class BoardFloor final
{
public:
    BoardFloor(const BasicString& root, std::size_t coreCount)
        : common(root, coreCount),
          upTimeFile(root + "/proc/uptime"),
          temperatureFile(root + "/sys/class/thermal/thermal_zone0/temp"),
          runLed(root + "/sys/class/leds/board:green:run"),
          failLed(root + "/sys/class/leds/board:red:fault"),
          externalLed(root + "/sys/class/leds/board:green:activity")
    {
    }

    void Read(Values& values) const
    {
        std::array<char, 128> buffer;
        std::fill_n(values.items.begin(), memoryIndex, ItemValue());
        values.items[upTimeIndex] = ItemValue(ParseFirst<uint64>(upTimeFile.Read(buffer)));
        const double degrees = static_cast<double>(ReadNumber(temperatureFile)) / 1000;
        values.items[temperatureIndex] = ItemValue(static_cast<int8>(std::lround(degrees)));
        values.items[runLedIndex] = ItemValue(runLed.Read(1));
        values.items[failLedIndex] = ItemValue(failLed.Read(3));
        values.items[externalLedIndex] = ItemValue(externalLed.Read(1));
        common.Read(values);
    }

private:
    class Led final
    {
    public:
        explicit Led(const BasicString& folder) : trigger(folder + "/trigger"), brightness(folder + "/brightness") {}

        [[nodiscard]] uint32 Read(uint32 colour) const noexcept
        {
            std::array<char, 4096> buffer;
            std::string_view text = trigger.Read(buffer);
            text.remove_prefix(std::min(text.find('[') + 1, text.size()));
            text = text.substr(0, text.find(']'));
            if (text == "heartbeat" || text == "pattern" || text == "timer")
            {
                return colour << 16U | 2U;
            }
            return colour << 16U | (ReadNumber(brightness) == 0 ? 0U : 1U);
        }

    private:
        const BareFile trigger;
        const BareFile brightness;
    };

    const CommonFloor common;
    const BareFile upTimeFile;
    const BareFile temperatureFile;
    const Led runLed;
    const Led failLed;
    const Led externalLed;
};

class PcFloor final
{
public:
    explicit PcFloor(std::size_t coreCount) : common("", coreCount)
    {
        if (const auto sensor = Sources::FindBoardTemperatureSensor(Machine::MachineRoot("/")))
        {
            temperatureFile = std::make_unique<BareFile>(Sources::FindSensor(*sensor).path);
        }
    }

    void Read(Values& values) const
    {
        values.items[0] = ItemValue();
        values.items[1] = ItemValue();
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        values.items[upTimeIndex] = ItemValue(static_cast<uint64>(time.tv_sec));
        const int64 millidegrees = temperatureFile ? ReadNumber(*temperatureFile) : 45'000;
        values.items[temperatureIndex] =
            ItemValue(static_cast<int8>(std::lround(static_cast<double>(millidegrees) / 1000)));
        std::fill_n(values.items.begin() + ledIndex, std::size(ledKeys), ItemValue(uint32{65536}));
        common.Read(values);
    }

private:
    const CommonFloor common;
    std::unique_ptr<BareFile> temperatureFile;
};

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
