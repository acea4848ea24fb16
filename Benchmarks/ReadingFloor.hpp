#pragma once

#include "Benchmarks/RefreshValues.hpp"
#include "Device/Sources/BoardTemperatureSource.hpp"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Reads the same values as the device services, with the same system calls and parsing by hand.
namespace Oxa::Benchmarks
{

using namespace Device::Linux;

/// A file that is kept open.
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

inline int64 ReadNumber(const BareFile& file) noexcept
{
    std::array<char, 64> buffer;
    return ParseFirst<int64>(file.Read(buffer));
}

/// The number that follows a name and blanks; 0 if there is none.
inline uint64 FindNumber(std::string_view text, std::string_view name) noexcept
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

/// The values of both machines: memory, file system, loads and time.
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
    /// Constant, because the services pass on the values of a sampler as well.
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
        const auto sensors =
            Sources::FindTemperatureSensors(Machine::MachineRoot("/"), 1, Device::Linux::Items::ReadPass::Begin());
        if (!sensors.empty())
        {
            temperatureFile = std::make_unique<BareFile>(Sources::FindSensor(sensors.front()).path);
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

} // namespace Oxa::Benchmarks
