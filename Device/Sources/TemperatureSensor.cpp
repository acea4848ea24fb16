#include "Device/Sources/TemperatureSensor.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Sources/SensorSearch.hpp"
#include "Device/Sources/TemperatureSource.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

namespace
{

/// The paths in a folder whose names begin and end so, hwmon2 before hwmon10.
std::vector<BasicString> ListFolder(const BasicString& folder, std::string_view prefix, std::string_view suffix)
{
    std::vector<BasicString> paths;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
    {
        const BasicString name = entry->path().filename().string();
        if (name.starts_with(prefix) && name.ends_with(suffix))
        {
            paths.push_back(entry->path().string());
        }
    }
    std::sort(paths.begin(), paths.end(),
              [](const BasicString& left, const BasicString& right)
              { return left.size() != right.size() ? left.size() < right.size() : left < right; });
    return paths;
}

BasicString ReadName(const BasicString& path)
{
    std::array<char, 128> buffer;
    Machine::KeptFile file(path);
    return BasicString(Machine::DeviceText::Trim(file.Read(buffer).text));
}

std::vector<TemperatureSensor> ListSensors(const Machine::MachineRoot& root)
{
    std::vector<TemperatureSensor> sensors;
    for (const auto& monitor : ListFolder(root.Resolve("/sys/class/hwmon"), "hwmon", ""))
    {
        for (const auto& input : ListFolder(monitor, "temp", "_input"))
        {
            sensors.push_back({input, ReadName(monitor + "/name"), 0});
        }
    }
    for (const auto& zone : ListFolder(root.Resolve("/sys/class/thermal"), "thermal_zone", ""))
    {
        sensors.push_back({zone + "/temp", ReadName(zone + "/type"), 0});
    }
    return sensors;
}

bool ContainsAny(std::string_view text, std::initializer_list<std::string_view> words) noexcept
{
    return std::any_of(words.begin(), words.end(),
                       [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

/// The lower, the better.
int Rank(const TemperatureSensor& sensor) noexcept
{
    if (ContainsAny(sensor.name, {"board", "system", "acpitz"}))
    {
        return 0;
    }
    return ContainsAny(sensor.name, {"cpu", "soc", "core", "k10temp", "x86_pkg"}) ? 1 : 2;
}

bool GivesReading(const TemperatureSensor& sensor)
{
    return TemperatureSource(sensor.path, sensor.name).Read(Items::ReadPass::Begin()).HasValue();
}

/// Which of the devices of its name it is; 0 when it is gone by now.
std::size_t FindIndex(const TemperatureSensor& sensor)
{
    const std::filesystem::path path(sensor.path);
    const bool isZone = path.filename() == "temp";
    std::error_code error;
    const std::filesystem::path device = std::filesystem::canonical(path.parent_path(), error);
    SensorAddress address = {.classFolder = path.parent_path().parent_path().string(),
                             .devicePrefix = isZone ? "thermal_zone" : "hwmon",
                             .nameFile = isZone ? "type" : "name",
                             .name = sensor.name,
                             .index = 0,
                             .inputFile = path.filename().string(),
                             .label = {}};
    const BasicString file = (device / path.filename()).string();
    for (;; ++address.index)
    {
        const BasicString found = FindSensor(address).path;
        if (found.empty() || found == file)
        {
            return found.empty() ? 0 : address.index;
        }
    }
}

} // namespace

std::optional<TemperatureSensor> FindBoardTemperatureSensor(const Machine::MachineRoot& root)
{
    std::vector<TemperatureSensor> sensors = ListSensors(root);
    std::stable_sort(sensors.begin(), sensors.end(),
                     [](const TemperatureSensor& left, const TemperatureSensor& right)
                     { return Rank(left) < Rank(right); });
    const auto found = std::find_if(sensors.begin(), sensors.end(), GivesReading);
    if (found == sensors.end())
    {
        return std::nullopt;
    }
    found->index = FindIndex(*found);
    return *found;
}

} // namespace Oxa::Device::Linux::Sources
