#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// Identifies a sensor independently of the number that the kernel gave it at this boot. A value type.
struct SensorAddress
{
    /// The class's folder, for instance "/sys/class/hwmon".
    BasicString classFolder;
    /// The prefix of its devices' names, for instance "hwmon"; the class may have others.
    BasicString devicePrefix;
    /// The file of a device that holds its name: "name" or "type".
    BasicString nameFile;
    BasicString name;
    /// Which of several devices of that name, from 0, in the order of their device paths.
    std::size_t index = 0;
    /// The file to read, for instance "temp1_input"; empty when the label decides.
    BasicString inputFile;
    /// The text of the file like "temp1_label" beside the "temp1_input" to read.
    BasicString label;
};

/// The file to read now, or why there is none.
struct FoundSensor
{
    /// Without symbolic links: the device's own, independent of its number; empty when there is a cause.
    BasicString path;
    BasicString cause;
    /// The divisor of the number in the file: for degrees Celsius, volts, amperes, revolutions per minute, watts or
    /// percent.
    double unitsPerPlainUnit = 1;
};

/// The chip of a hardware monitor, by the content of its file "name"; the caller sets the file or the label.
[[nodiscard]] SensorAddress MakeHwmonAddress(const Machine::MachineRoot& root, BasicString chip, std::size_t index);

/// The temperature of a thermal zone, by the content of its file "type".
[[nodiscard]] SensorAddress MakeThermalAddress(const Machine::MachineRoot& root, BasicString zone, std::size_t index);

/// Whether a file of a hardware monitor with this name holds a measured value: "temp1_input", and the same of "in",
/// "curr", "fan", "power" and "humidity".
[[nodiscard]] bool IsSensorInput(std::string_view fileName) noexcept;

/// The unit of a file that `IsSensorInput` admits, for instance "V"; empty for every other one.
[[nodiscard]] std::string_view GetSensorUnit(std::string_view fileName) noexcept;

/// Searches the folders of the class. Safe from any thread.
[[nodiscard]] FoundSensor FindSensor(const SensorAddress& address);

/// A sensor of the kernel in plain units, as a Real64: searched at the first read, then its file is kept open. When it
/// can no longer be read, the sensor is searched again, at most once a second: it may have another number by then.
/// Threads: safe from several threads; one reads at a time. A read that succeeds allocates nothing.
class SensorSource final : public Items::IItemSource
{
public:
    /// Searches nothing yet.
    explicit SensorSource(SensorAddress address, Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading ReadKept(const Items::ReadPass& pass) OXA_REQUIRES(mutex);
    void Search() OXA_REQUIRES(mutex);

    const SensorAddress address;
    const Machine::SteadyClock clock;
    System::Commons::Mutex mutex;
    /// Of the searches.
    System::Commons::Threading::Backoff search OXA_GUARDED_BY(mutex){std::chrono::seconds(1), std::chrono::seconds(1)};
    std::optional<Machine::KeptFile> file OXA_GUARDED_BY(mutex);
    double unitsPerPlainUnit OXA_GUARDED_BY(mutex) = 1;
    /// Why there is no file.
    BasicString cause OXA_GUARDED_BY(mutex) = "not searched yet";
};

/// The temperature sensors that represent the board best, the best first: by its name a board's one, else a
/// processor's, else any; among equals a hardware monitor's before a thermal zone's, and the lowest number. Only
/// sensors that give a reading now count; the name decides before the number, which changes from boot to boot.
[[nodiscard]] std::vector<SensorAddress> FindTemperatureSensors(const Machine::MachineRoot& root,
                                                                std::size_t maximumCount);

} // namespace Oxa::Device::Linux::Sources
