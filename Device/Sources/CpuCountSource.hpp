#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Sources/CpuLoads.hpp"

#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// How many cores there are loads of, as an unsigned 8-bit number. Safe from any thread.
class CpuCountSource final : public Items::IItemSource
{
public:
    /// Requires: `loads` is not null.
    explicit CpuCountSource(std::shared_ptr<const CpuLoads> loads);
    ~CpuCountSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::shared_ptr<const CpuLoads> loads;
};

} // namespace Oxa::Device::Linux::Sources
