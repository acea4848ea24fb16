#pragma once

#include "Device/Items/CpuLoads.hpp"
#include "Device/Items/IItemSource.hpp"

#include <memory>

namespace Oxa::Device::Linux::Items
{

/// How many cores there are loads of, as an unsigned 8-bit number. Safe from any thread.
class CpuCountSource final : public IItemSource
{
public:
    /// Requires: `loads` is not null.
    explicit CpuCountSource(std::shared_ptr<const CpuLoads> loads);
    ~CpuCountSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::shared_ptr<const CpuLoads> loads;
};

} // namespace Oxa::Device::Linux::Items
