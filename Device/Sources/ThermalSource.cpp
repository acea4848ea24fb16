#include "Device/Sources/ThermalSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Sources
{

ThermalSource::ThermalSource(BasicString classFolder, BasicString type, std::size_t index, Machine::SteadyClock clock)
    : file({.classFolder = std::move(classFolder),
            .devicePrefix = "thermal_zone",
            .nameFile = "type",
            .name = std::move(type),
            .index = index,
            .inputFile = "temp",
            .label = {}},
           std::move(clock))
{
}

ThermalSource::~ThermalSource() = default;

Items::ItemReading ThermalSource::Read(const Items::ReadPass&)
{
    return file.ReadCelsius();
}

BasicString ThermalSource::Describe() const
{
    return "thermal zone: " + DescribeSensor(file.GetAddress());
}

} // namespace Oxa::Device::Linux::Sources
