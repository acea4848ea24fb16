#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"

namespace Oxa::Device::Linux::Sources
{

/// A temperature that the kernel gives in millidegrees Celsius, in degrees as a Real64. 0 and below are readings like
/// others. Safe from any thread.
class TemperatureSource final : public Items::IItemSource
{
public:
    /// `sensorName`: for people.
    TemperatureSource(BasicString path, BasicString sensorName);
    ~TemperatureSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    Machine::KeptFile file;
    const BasicString sensorName;
};

} // namespace Oxa::Device::Linux::Sources
