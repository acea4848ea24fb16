#include "Device/Sources/HwmonSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Sources
{

HwmonSource::HwmonSource(BasicString classFolder, Sensor sensor, Machine::SteadyClock clock)
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

Items::ItemReading HwmonSource::Read(const Items::ReadPass&)
{
    return file.ReadCelsius();
}

BasicString HwmonSource::Describe() const
{
    return "hardware monitor: " + DescribeSensor(file.GetAddress());
}

} // namespace Oxa::Device::Linux::Sources
