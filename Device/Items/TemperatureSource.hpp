#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/KeptFile.hpp"

namespace Oxa::Device::Linux::Items
{

/// A temperature that the kernel gives in millidegrees Celsius, in degrees as a Real64. 0 and below are readings like
/// others. Safe from any thread.
class TemperatureSource final : public IItemSource
{
public:
    /// `sensorName`: for people.
    TemperatureSource(BasicString path, BasicString sensorName);
    ~TemperatureSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    KeptFile file;
    const BasicString sensorName;
};

} // namespace Oxa::Device::Linux::Items
