#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Sources/PartitionProbe.hpp"

#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// One figure of a file system. Safe from any thread.
class PartitionSource final : public Items::IItemSource
{
public:
    enum class Figure : uint8
    {
        /// Bytes, unsigned 64-bit.
        Total,
        /// Bytes, unsigned 64-bit.
        Usage,
        /// Unsigned 8-bit, see GetUsedPercent.
        UsagePercent
    };

    /// The probe is shared by the sources of one file system. Requires: it is not null.
    PartitionSource(std::shared_ptr<PartitionProbe> probe, Figure figure);
    ~PartitionSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::shared_ptr<PartitionProbe> probe;
    const Figure figure;
};

} // namespace Oxa::Device::Linux::Sources
