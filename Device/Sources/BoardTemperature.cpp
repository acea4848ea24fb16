#include "Device/Sources/BoardTemperature.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Sources/SensorSource.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

struct Candidate
{
    SensorAddress address;
    /// By the number that the kernel gave the device at this boot.
    BasicString path;
};

BasicString ReadName(const BasicString& path)
{
    std::array<char, 128> buffer;
    Machine::KeptFile file(path);
    return BasicString(Machine::DeviceText::Trim(file.Read(buffer).text));
}

/// Adds the temperatures of all devices of the class that `address` is of.
void AddCandidates(std::vector<Candidate>& candidates, SensorAddress address)
{
    const std::string_view suffix = address.inputFile.empty() ? "_input" : "";
    for (const BasicString& device : ListSensorFiles(address.classFolder, address.devicePrefix, ""))
    {
        address.name = ReadName(device + '/' + address.nameFile);
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

/// Sensors of their own beside the processor, by the names that their drivers give them: what they measure is the
/// board.
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

/// Finds out which of the devices of its name it is. False when it is gone by now.
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
