#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
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

/// A file that holds a temperature.
struct SensorFile
{
    SensorAddress address;
    /// By the number that the kernel gave the device at this boot.
    BasicString path;
};

/// The temperatures of all devices of the class of `address`; each address lacks its index.
[[nodiscard]] std::vector<SensorFile> ListTemperatureFiles(SensorAddress address);

/// A sensor of the kernel in plain units, as a Real64: searched at the first read, then its file is kept open. When its
/// device was removed, the sensor is searched again, at most once a second: it may have another number by then.
/// Threads: safe from several threads; one reads at a time. A read that succeeds allocates nothing.
class SensorSource final : public Items::IItemSource
{
public:
    /// Searches nothing yet.
    explicit SensorSource(SensorAddress address, Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    struct Sensor
    {
        Sensor(FoundSensor found, const Machine::SteadyClock& clock)
            : file(std::move(found.path), Machine::KeptFile::Reopening::Never, clock),
              unitsPerPlainUnit(found.unitsPerPlainUnit)
        {
        }

        Machine::KeptFile file;
        const double unitsPerPlainUnit;
    };

    /// The sensor, searched when there is no other than the removed one. Null when that finds none, or is not due yet;
    /// without any sensor `failure` tells why.
    [[nodiscard]] std::shared_ptr<Sensor> FindOther(const std::shared_ptr<Sensor>& removed, Machine::SteadyTime now,
                                                    BasicString& failure);

    const SensorAddress address;
    const Machine::SteadyClock clock;
    System::Commons::Mutex mutex;
    /// Of the searches.
    System::Commons::Threading::Backoff search OXA_GUARDED_BY(mutex){std::chrono::seconds(1), std::chrono::seconds(1)};
    /// Null when it was not found.
    std::shared_ptr<Sensor> sensor OXA_GUARDED_BY(mutex);
    /// Why there is no sensor.
    BasicString cause OXA_GUARDED_BY(mutex) = "not searched yet";
};

} // namespace Oxa::Device::Linux::Sources
