#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/SensorFile.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Items
{

/// The temperature of a thermal zone in degrees Celsius, as a Real64. Safe from any thread.
class ThermalSource final : public IItemSource
{
public:
    /// `classFolder`: a folder like "/sys/class/thermal". `type`: what the zone's file "type" holds. `index`: which of
    /// several zones of that type, from 0, in the order of their device paths.
    ThermalSource(BasicString classFolder, BasicString type, std::size_t index = 0,
                  SteadyClock clock = &ReadSteadyClock);
    ~ThermalSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    SensorFile file;
};

} // namespace Oxa::Device::Linux::Items
