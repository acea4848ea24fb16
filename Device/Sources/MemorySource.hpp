#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Sources/MemoryProbe.hpp"

#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// One figure of the machine's memory. Safe from any thread.
class MemorySource final : public Items::IItemSource
{
public:
    enum class Figure : uint8
    {
        /// Bytes, unsigned 64-bit.
        Total,
        /// Bytes, unsigned 64-bit.
        Usage,
        /// Of the total, rounded to the nearest, unsigned 8-bit.
        UsagePercent
    };

    /// The probe is shared by the sources of one machine. Requires: it is not null.
    MemorySource(std::shared_ptr<MemoryProbe> probe, Figure figure);
    ~MemorySource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::shared_ptr<MemoryProbe> probe;
    const Figure figure;
};

} // namespace Oxa::Device::Linux::Sources
