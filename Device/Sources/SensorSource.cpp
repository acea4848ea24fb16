// Two states: found, with a file, or not found, with a cause and a time of the next search. `mutex` guards both. A
// thread that holds it searches, which reads names and labels only: text that the kernel keeps in memory. The sensor's
// file is read without the mutex, because its driver may wait for a bus.

#include "Device/Sources/SensorSource.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::MutexLock;

namespace
{

constexpr std::string_view inputSuffix = "_input";
constexpr std::string_view labelSuffix = "_label";
constexpr std::string_view hwmonPrefix = "hwmon";

struct SensorKind
{
    std::string_view prefix;
    double unitsPerPlainUnit;
    std::string_view unit;
};

// Millidegrees, millivolts, milliamperes, revolutions per minute, microwatts and thousandths of a percent. Temperatures
// come first, and so does their label when a chip uses one label twice.
constexpr SensorKind sensorKinds[] = {{"temp", 1e3, "°C"}, {"in", 1e3, "V"},    {"curr", 1e3, "A"},
                                      {"fan", 1, "rpm"},   {"power", 1e6, "W"}, {"humidity", 1e3, "%"}};

/// Of "temp", which is a thermal zone's file, and of "temp1_input"; null for a file of another kind.
const SensorKind* FindKind(std::string_view fileName) noexcept
{
    const std::string_view name =
        fileName.ends_with(inputSuffix) ? fileName.substr(0, fileName.size() - inputSuffix.size()) : fileName;
    const std::size_t end = name.find_last_not_of("0123456789") + 1;
    const auto* const found =
        std::find_if(std::begin(sensorKinds), std::end(sensorKinds),
                     [name, end](const SensorKind& kind) { return kind.prefix == name.substr(0, end); });
    return found == std::end(sensorKinds) ? nullptr : found;
}

/// Empty for a file that cannot be read: there are chips without a name.
BasicString ReadText(const BasicString& path)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    Machine::KeptFile file(path);
    return BasicString(Machine::DeviceText::Trim(file.Read(buffer).text));
}

void SortNaturally(std::vector<BasicString>& paths)
{
    std::sort(paths.begin(), paths.end(),
              [](const BasicString& left, const BasicString& right)
              { return strverscmp(left.c_str(), right.c_str()) < 0; });
}

/// The paths in a folder whose names have this prefix and suffix, "hwmon2" before "hwmon10"; empty when it cannot be
/// read.
std::vector<BasicString> ListSensorFiles(const BasicString& folder, std::string_view prefix, std::string_view suffix)
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
    SortNaturally(paths);
    return paths;
}

/// The devices of the name, each by its own path.
std::vector<BasicString> FindDevices(const SensorAddress& address)
{
    std::vector<BasicString> devices;
    for (const auto& link : ListSensorFiles(address.classFolder, address.devicePrefix, ""))
    {
        std::error_code error;
        const std::filesystem::path device = std::filesystem::canonical(link, error);
        if (!error && ReadText(link + '/' + address.nameFile) == address.name)
        {
            devices.push_back(device.string());
        }
    }
    SortNaturally(devices);
    return devices;
}

/// Empty when the device has no such label.
BasicString FindLabelledInput(const BasicString& device, std::string_view label)
{
    for (const SensorKind& kind : sensorKinds)
    {
        for (BasicString& file : ListSensorFiles(device, kind.prefix, labelSuffix))
        {
            if (ReadText(file) == label)
            {
                return file.replace(file.size() - labelSuffix.size(), labelSuffix.size(), inputSuffix);
            }
        }
    }
    return {};
}

FoundSensor MakeFound(BasicString path)
{
    const SensorKind* const kind = FindKind(std::filesystem::path(path).filename().native());
    return {std::move(path), {}, kind != nullptr ? kind->unitsPerPlainUnit : 1};
}

} // namespace

FoundSensor FindSensor(const SensorAddress& address)
{
    const std::vector<BasicString> devices = FindDevices(address);
    if (address.index >= devices.size())
    {
        return {{},
                fmt::format("'{}' has {} devices of the name '{}', none with the index {}", address.classFolder,
                            devices.size(), address.name, address.index)};
    }
    const BasicString& device = devices[address.index];
    if (!address.inputFile.empty())
    {
        return MakeFound(device + '/' + address.inputFile);
    }
    BasicString input = FindLabelledInput(device, address.label);
    if (input.empty())
    {
        return {{}, fmt::format("'{}' has no sensor with the label '{}'", device, address.label)};
    }
    return MakeFound(std::move(input));
}

SensorAddress MakeHwmonAddress(const Machine::MachineRoot& root, BasicString chip, std::size_t index)
{
    return {.classFolder = root.Resolve("/sys/class/hwmon"),
            .devicePrefix = BasicString(hwmonPrefix),
            .nameFile = "name",
            .name = std::move(chip),
            .index = index,
            .inputFile = {},
            .label = {}};
}

SensorAddress MakeThermalAddress(const Machine::MachineRoot& root, BasicString zone, std::size_t index)
{
    return {.classFolder = root.Resolve("/sys/class/thermal"),
            .devicePrefix = "thermal_zone",
            .nameFile = "type",
            .name = std::move(zone),
            .index = index,
            .inputFile = "temp",
            .label = {}};
}

bool IsSensorInput(std::string_view fileName) noexcept
{
    const SensorKind* const kind = FindKind(fileName);
    return kind != nullptr && fileName.ends_with(inputSuffix) &&
           fileName.size() > kind->prefix.size() + inputSuffix.size();
}

std::string_view GetSensorUnit(std::string_view fileName) noexcept
{
    const SensorKind* const kind = FindKind(fileName);
    return kind == nullptr ? std::string_view() : kind->unit;
}

SensorSource::SensorSource(SensorAddress address, Machine::SteadyClock clock)
    : address(std::move(address)), clock(std::move(clock))
{
}

Items::ItemReading SensorSource::Read(const Items::ReadPass& pass)
{
    const Machine::SteadyTime now = clock();
    BasicString failure;
    std::shared_ptr<Sensor> removed;
    while (const auto found = FindOther(removed, now, failure))
    {
        int error = 0;
        const auto number = found->file.ReadNumber<int64>(failure, error, pass.GetWaitBudget());
        if (number)
        {
            return Items::ItemReading::Of(static_cast<double>(*number) / found->unitsPerPlainUnit);
        }
        if (error != ENODEV && error != ENOENT)
        {
            break;
        }
        removed = found;
    }
    return Items::ItemReading::Missing(std::move(failure));
}

BasicString SensorSource::Describe() const
{
    BasicString text = address.devicePrefix == hwmonPrefix ? "hardware monitor: sensor '" : "thermal zone: sensor '";
    text += address.name + "'";
    if (address.index > 0)
    {
        text += fmt::format(" of index {}", address.index);
    }
    return text + (address.inputFile.empty() ? ", label '" + address.label : ", file '" + address.inputFile) + "'";
}

std::shared_ptr<SensorSource::Sensor> SensorSource::FindOther(const std::shared_ptr<Sensor>& removed,
                                                              Machine::SteadyTime now, BasicString& failure)
{
    const MutexLock lock(mutex);
    if (sensor == removed && search.IsDue(now))
    {
        search.Delay(now);
        FoundSensor found = FindSensor(address);
        cause = std::move(found.cause);
        sensor = found.path.empty() ? nullptr : std::make_shared<Sensor>(std::move(found), clock);
    }
    if (!sensor)
    {
        failure = cause;
    }
    return sensor == removed ? nullptr : sensor;
}

std::vector<SensorFile> ListTemperatureFiles(SensorAddress address)
{
    std::vector<SensorFile> files;
    const std::string_view suffix = address.inputFile.empty() ? inputSuffix : "";
    for (const BasicString& device : ListSensorFiles(address.classFolder, address.devicePrefix, ""))
    {
        address.name = ReadText(device + '/' + address.nameFile);
        for (const BasicString& path : ListSensorFiles(device, "temp", suffix))
        {
            const BasicString fileName = std::filesystem::path(path).filename().string();
            if (address.inputFile.empty() || fileName == address.inputFile)
            {
                files.push_back({address, path});
                files.back().address.inputFile = fileName;
            }
        }
    }
    return files;
}

} // namespace Oxa::Device::Linux::Sources
