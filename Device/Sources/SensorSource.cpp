// Two states: found, with a file, or not found, with a cause and a time of the next search. `mutex` guards both. A
// thread that holds it reads files, which take mutexes of their own; nothing takes them in the other order.

#include "Device/Sources/SensorSource.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <initializer_list>
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

namespace
{

struct Candidate
{
    SensorAddress address;
    /// By the number that the kernel gave the device at this boot.
    BasicString path;
};

/// Adds the temperatures of all devices of the class of `address`.
void AddCandidates(std::vector<Candidate>& candidates, SensorAddress address)
{
    const std::string_view suffix = address.inputFile.empty() ? "_input" : "";
    for (const BasicString& device : ListSensorFiles(address.classFolder, address.devicePrefix, ""))
    {
        address.name = ReadText(device + '/' + address.nameFile);
        for (const BasicString& path : ListSensorFiles(device, "temp", suffix))
        {
            const BasicString fileName = std::filesystem::path(path).filename().string();
            if (address.inputFile.empty() || fileName == address.inputFile)
            {
                candidates.push_back({address, path});
                candidates.back().address.inputFile = fileName;
            }
        }
    }
}

bool ContainsAny(std::string_view text, std::initializer_list<std::string_view> words) noexcept
{
    return std::any_of(words.begin(), words.end(),
                       [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

/// Sensor chips beside the processor, by the names that their drivers give them: they measure the board.
bool IsBoardSensor(std::string_view name) noexcept
{
    constexpr std::string_view beginnings[] = {"adt7",   "at30ts",  "ds1621", "ds1775", "ds75",   "g751",
                                               "lm73",   "lm75",    "lm77",   "lm92",   "max662", "max31725",
                                               "mcp980", "pct2075", "stds75", "stlm75", "tcn75",  "tmp"};
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [name](std::string_view beginning) { return name.starts_with(beginning); });
}

/// The lower, the better.
int Rank(const Candidate& candidate) noexcept
{
    const BasicString& name = candidate.address.name;
    if (IsBoardSensor(name) || ContainsAny(name, {"board", "ambient", "system", "acpitz"}))
    {
        return 0;
    }
    return ContainsAny(name, {"cpu", "soc", "core", "k10temp", "x86_pkg"}) ? 1 : 2;
}

/// Counts the devices of its name up to this one. False when it no longer exists.
bool SetIndex(Candidate& candidate)
{
    std::error_code error;
    const BasicString file = std::filesystem::canonical(candidate.path, error).string();
    for (std::size_t& index = candidate.address.index;; ++index)
    {
        const BasicString found = FindSensor(candidate.address).path;
        if (found.empty() || found == file)
        {
            return !found.empty();
        }
    }
}

bool GivesReading(Candidate& candidate)
{
    return SetIndex(candidate) && SensorSource(candidate.address).Read(Items::ReadPass::Begin()).HasValue();
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
    const MutexLock lock(mutex);
    Items::ItemReading reading = ReadKept(pass);
    if (reading.HasValue() || !search.IsDue(now))
    {
        return reading;
    }
    search.Delay(now);
    Search();
    return ReadKept(pass);
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

Items::ItemReading SensorSource::ReadKept(const Items::ReadPass& pass)
{
    if (!file)
    {
        return Items::ItemReading::Missing(cause);
    }
    BasicString failure;
    const auto number = file->ReadNumber<int64>(failure, pass.GetWaitBudget());
    return number ? Items::ItemReading::Of(static_cast<double>(*number) / unitsPerPlainUnit)
                  : Items::ItemReading::Missing(std::move(failure));
}

void SensorSource::Search()
{
    file.reset();
    FoundSensor found = FindSensor(address);
    cause = std::move(found.cause);
    if (!found.path.empty())
    {
        unitsPerPlainUnit = found.unitsPerPlainUnit;
        file.emplace(std::move(found.path), Machine::KeptFile::Reopening::Never);
    }
}

std::vector<SensorAddress> FindTemperatureSensors(const Machine::MachineRoot& root, std::size_t maximumCount)
{
    std::vector<Candidate> candidates;
    AddCandidates(candidates, MakeHwmonAddress(root, {}, 0));
    AddCandidates(candidates, MakeThermalAddress(root, {}, 0));
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& left, const Candidate& right) { return Rank(left) < Rank(right); });
    std::vector<SensorAddress> sensors;
    for (auto candidate = candidates.begin(); candidate != candidates.end() && sensors.size() < maximumCount;
         ++candidate)
    {
        if (GivesReading(*candidate))
        {
            sensors.push_back(std::move(candidate->address));
        }
    }
    return sensors;
}

} // namespace Oxa::Device::Linux::Sources
