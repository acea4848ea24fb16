#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Sources/SensorFile.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Sources
{

/// The temperature of a thermal zone in degrees Celsius, as a Real64. Safe from any thread.
class ThermalSource final : public Items::IItemSource
{
public:
    /// `classFolder`: a folder like "/sys/class/thermal". `type`: what the zone's file "type" holds. `index`: which of
    /// several zones of that type, from 0, in the order of their device paths.
    ThermalSource(BasicString classFolder, BasicString type, std::size_t index = 0,
                  Machine::SteadyClock clock = &Machine::ReadSteadyClock);
    ~ThermalSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    SensorFile file;
};

} // namespace Oxa::Device::Linux::Sources
