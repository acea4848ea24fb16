// Two states: chosen, for good, or not chosen, with a time of the next choice. `mutex` guards both. It is not held
// while sensors are read: the thread that chooses first moves the time on, so others go on without a value meanwhile.

#include "Device/Sources/BoardTemperatureSource.hpp"

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using Items::ItemReading;
using System::Commons::MutexLock;

namespace
{

constexpr const char* absence = "this machine has no temperature sensor";

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
int Rank(const SensorFile& candidate) noexcept
{
    const BasicString& name = candidate.address.name;
    if (IsBoardSensor(name) || ContainsAny(name, {"board", "ambient", "system", "acpitz"}))
    {
        return 0;
    }
    return ContainsAny(name, {"cpu", "soc", "core", "k10temp", "x86_pkg"}) ? 1 : 2;
}

/// Counts the devices of its name up to this one. False when it no longer exists.
bool SetIndex(SensorFile& candidate)
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

} // namespace

std::vector<SensorAddress> FindTemperatureSensors(const Machine::MachineRoot& root, std::size_t maximumCount,
                                                  const Items::ReadPass& pass)
{
    std::vector<SensorFile> candidates = ListTemperatureFiles(MakeHwmonAddress(root, {}, 0));
    std::ranges::move(ListTemperatureFiles(MakeThermalAddress(root, {}, 0)), std::back_inserter(candidates));
    std::ranges::stable_sort(candidates, {}, &Rank);
    std::vector<SensorAddress> sensors;
    for (auto candidate = candidates.begin(); candidate != candidates.end() && sensors.size() < maximumCount;
         ++candidate)
    {
        if (SetIndex(*candidate) && SensorSource(candidate->address).Read(pass).HasValue())
        {
            sensors.push_back(std::move(candidate->address));
        }
    }
    return sensors;
}

BoardTemperatureSource::BoardTemperatureSource(Machine::MachineRoot root, Machine::SteadyClock clock)
    : root(std::move(root)), clock(std::move(clock))
{
    static_cast<void>(Choose(Items::ReadPass::Begin()));
}

ItemReading BoardTemperatureSource::Read(const Items::ReadPass& pass)
{
    SensorSource* const sensor = Choose(pass);
    return sensor != nullptr ? sensor->Read(pass) : ItemReading::Missing(absence);
}

BasicString BoardTemperatureSource::Describe() const
{
    const SensorSource* const sensor = GetChosen();
    return sensor != nullptr ? sensor->Describe() : BasicString("none yet: ") + absence;
}

Items::ItemOrigin BoardTemperatureSource::GetOrigin() const noexcept
{
    const SensorSource* const sensor = GetChosen();
    return sensor != nullptr ? sensor->GetOrigin() : Items::ItemOrigin::Absent;
}

SensorSource* BoardTemperatureSource::Choose(const Items::ReadPass& pass)
{
    {
        const Machine::SteadyTime now = clock();
        const MutexLock lock(mutex);
        if (chosen || !search.IsDue(now))
        {
            return chosen.get();
        }
        search.Delay(now);
    }
    auto sensors = FindTemperatureSensors(root, 1, pass);
    const MutexLock lock(mutex);
    if (!sensors.empty() && !chosen)
    {
        chosen = std::make_unique<SensorSource>(std::move(sensors.front()));
    }
    return chosen.get();
}

SensorSource* BoardTemperatureSource::GetChosen() const noexcept
{
    const MutexLock lock(mutex);
    return chosen.get();
}

} // namespace Oxa::Device::Linux::Sources
