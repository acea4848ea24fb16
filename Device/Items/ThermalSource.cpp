#include "Device/Items/ThermalSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Items
{

ThermalSource::ThermalSource(BasicString classFolder, BasicString type, std::size_t index, SteadyClock clock)
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

ItemReading ThermalSource::Read(const ReadPass&)
{
    return file.ReadCelsius();
}

BasicString ThermalSource::Describe() const
{
    return "thermal zone: " + DescribeSensor(file.GetAddress());
}

} // namespace Oxa::Device::Linux::Items
