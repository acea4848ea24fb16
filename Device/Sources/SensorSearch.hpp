#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Sources
{

/// What tells a temperature sensor from others, whatever number the kernel gave it at this boot. A value type.
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
    /// The text of the "tempN_label" beside the "tempN_input" to read.
    BasicString label;
};

/// The file to read now, or why there is none.
struct FoundSensor
{
    /// Without symbolic links, so that it is the device's and not that of a number; empty when there is a cause.
    BasicString path;
    BasicString cause;
};

/// Looks through the folders of the class. Safe from any thread.
[[nodiscard]] FoundSensor FindSensor(const SensorAddress& address);

/// For people, for instance "sensor 'coretemp', label 'Core 0'".
[[nodiscard]] BasicString DescribeSensor(const SensorAddress& address);

} // namespace Oxa::Device::Linux::Sources
