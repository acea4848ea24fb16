#include "Device/Items/HwmonSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Items
{

HwmonSource::HwmonSource(BasicString classFolder, Sensor sensor, SteadyClock clock)
    : file({.classFolder = std::move(classFolder),
            .devicePrefix = "hwmon",
            .nameFile = "name",
            .name = std::move(sensor.chip),
            .index = sensor.index,
            .inputFile = std::move(sensor.input),
            .label = std::move(sensor.label)},
           std::move(clock))
{
}

HwmonSource::~HwmonSource() = default;

ItemReading HwmonSource::Read(const ReadPass&)
{
    return file.ReadCelsius();
}

BasicString HwmonSource::Describe() const
{
    return "hardware monitor: " + DescribeSensor(file.GetAddress());
}

} // namespace Oxa::Device::Linux::Items
