#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// What tells a sensor from others, whatever number the kernel gave it at this boot. A value type.
struct SensorAddress
{
    /// The class's folder, for instance "/sys/class/hwmon".
    BasicString classFolder;
    /// What the names of its devices begin with, for instance "hwmon"; the class may hold others.
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
    /// Without symbolic links, so that it is the device's and not that of a number; empty when there is a cause.
    BasicString path;
    BasicString cause;
    /// By how much the number in the file is to be divided: for degrees Celsius, volts, amperes, revolutions per
    /// minute, watts or percent.
    double unitsPerPlainUnit = 1;
};

/// The chip of a hardware monitor, by what its file "name" holds; the caller sets the file or the label.
[[nodiscard]] SensorAddress MakeHwmonAddress(const Machine::MachineRoot& root, BasicString chip, std::size_t index);

/// The temperature of a thermal zone, by what its file "type" holds.
[[nodiscard]] SensorAddress MakeThermalAddress(const Machine::MachineRoot& root, BasicString zone, std::size_t index);

/// Whether a file of a hardware monitor with this name holds what can be read: "temp1_input", and the same of "in",
/// "curr", "fan", "power" and "humidity".
[[nodiscard]] bool IsSensorInput(std::string_view fileName) noexcept;

/// Looks through the folders of the class. Safe from any thread.
[[nodiscard]] FoundSensor FindSensor(const SensorAddress& address);

/// For people, for instance "hardware monitor: sensor 'coretemp', label 'Core 0'".
[[nodiscard]] BasicString DescribeSensor(const SensorAddress& address);

/// The paths in a folder whose names begin and end so, "hwmon2" before "hwmon10"; none when it cannot be read.
[[nodiscard]] std::vector<BasicString> ListSensorFiles(const BasicString& folder, std::string_view prefix,
                                                       std::string_view suffix);

} // namespace Oxa::Device::Linux::Sources
