#include "Device/Sources/SensorSearch.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

constexpr std::string_view inputSuffix = "_input";
constexpr std::string_view labelSuffix = "_label";
constexpr std::string_view hwmonPrefix = "hwmon";

struct SensorKind
{
    std::string_view prefix;
    double unitsPerPlainUnit;
};

// Millidegrees, millivolts, milliamperes, revolutions per minute, microwatts and thousandths of a percent. Temperatures
// come first, and so does their label when a chip uses one label twice.
constexpr SensorKind sensorKinds[] = {{"temp", 1e3}, {"in", 1e3},    {"curr", 1e3},
                                      {"fan", 1},    {"power", 1e6}, {"humidity", 1e3}};

/// Of "temp", which is a thermal zone's file, and of "temp1_input"; null for what is no sensor.
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

/// A file that cannot be read holds the empty text: there are chips without a name.
bool HoldsText(const BasicString& path, std::string_view text)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    Machine::KeptFile file(path);
    return Machine::DeviceText::Trim(file.Read(buffer).text) == text;
}

void SortNaturally(std::vector<BasicString>& paths)
{
    std::sort(paths.begin(), paths.end(),
              [](const BasicString& left, const BasicString& right)
              { return strverscmp(left.c_str(), right.c_str()) < 0; });
}

/// The devices of the name, each by its own path.
std::vector<BasicString> FindDevices(const SensorAddress& address)
{
    std::vector<BasicString> devices;
    for (const auto& link : ListSensorFiles(address.classFolder, address.devicePrefix, ""))
    {
        std::error_code error;
        const std::filesystem::path device = std::filesystem::canonical(link, error);
        if (!error && HoldsText(link + '/' + address.nameFile, address.name))
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
            if (HoldsText(file, label))
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

FoundSensor FindSensor(const SensorAddress& address)
{
    const std::vector<BasicString> devices = FindDevices(address);
    if (address.index >= devices.size())
    {
        return {{},
                fmt::format("'{}' has {} of the name '{}', not one of index {}", address.classFolder, devices.size(),
                            address.name, address.index)};
    }
    const BasicString& device = devices[address.index];
    if (!address.inputFile.empty())
    {
        return MakeFound(device + '/' + address.inputFile);
    }
    BasicString input = FindLabelledInput(device, address.label);
    if (input.empty())
    {
        return {{}, fmt::format("'{}' has no sensor of the label '{}'", device, address.label)};
    }
    return MakeFound(std::move(input));
}

BasicString DescribeSensor(const SensorAddress& address)
{
    BasicString text = address.devicePrefix == hwmonPrefix ? "hardware monitor: sensor '" : "thermal zone: sensor '";
    text += address.name + "'";
    if (address.index > 0)
    {
        text += fmt::format(" of index {}", address.index);
    }
    return text + (address.inputFile.empty() ? ", label '" + address.label : ", file '" + address.inputFile) + "'";
}

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

} // namespace Oxa::Device::Linux::Sources
