#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/BoundedCalls.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Device/Sources/SensorSource.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// The temperature sensors that represent the board best, the best first: by its name a board's one, else a
/// processor's, else any; among equals a hardware monitor's before a thermal zone's, and the lowest number. Only
/// sensors that give a reading now count; the name decides before the number, which changes from boot to boot.
[[nodiscard]] std::vector<SensorAddress> FindTemperatureSensors(const Machine::MachineRoot& root,
                                                                std::size_t maximumCount, const Items::ReadPass& pass);

/// The best of these sensors, as a Real64 in degrees Celsius, chosen when the source is made. While the machine has no
/// sensor, for instance because its driver is loaded later, a read searches again: 1 s after the first search, then
/// after pauses that double up to a minute. A sensor that was found is kept. Threads: safe from several threads.
class BoardTemperatureSource final : public Items::IItemSource
{
public:
    explicit BoardTemperatureSource(Machine::MachineRoot root, Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

    /// Absent until a sensor is found.
    [[nodiscard]] Items::ItemOrigin GetOrigin() const noexcept override;

private:
    /// Null while no sensor was found, also when the next search is not due yet.
    [[nodiscard]] SensorSource* Choose(const Items::ReadPass& pass);
    [[nodiscard]] SensorSource* GetChosen() const noexcept;

    const Machine::MachineRoot root;
    const Machine::SteadyClock clock;
    mutable System::Commons::Mutex mutex;
    System::Commons::Threading::Backoff search OXA_GUARDED_BY(mutex){std::chrono::seconds(1), std::chrono::minutes(1)};
    /// Set once.
    std::unique_ptr<SensorSource> chosen OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Device::Linux::Sources
