#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Sources/SensorFile.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Sources
{

/// A temperature of a hardware monitor in degrees Celsius, as a Real64. Safe from any thread.
class HwmonSource final : public Items::IItemSource
{
public:
    /// One temperature of one chip.
    struct Sensor
    {
        /// What the chip's file "name" holds.
        BasicString chip;
        /// Which of several chips of that name, from 0, in the order of their device paths.
        std::size_t index = 0;
        /// What the temperature's "tempN_label" holds, or empty.
        BasicString label;
        /// Without a label: the file, for instance "temp1_input".
        BasicString input;
    };

    /// `classFolder`: a folder like "/sys/class/hwmon". Requires: the sensor has either a label or an input.
    HwmonSource(BasicString classFolder, Sensor sensor, Machine::SteadyClock clock = &Machine::ReadSteadyClock);
    ~HwmonSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    SensorFile file;
};

} // namespace Oxa::Device::Linux::Sources
