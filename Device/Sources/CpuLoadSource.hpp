#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Sources/CpuLoads.hpp"

#include <cstddef>
#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// The load of one core, or of all together, in percent as an unsigned 8-bit number. Safe from any thread; no lock.
class CpuLoadSource final : public Items::IItemSource
{
public:
    /// `core`: from 1; 0 for all. Requires: `loads` is not null.
    CpuLoadSource(std::shared_ptr<const CpuLoads> loads, std::size_t core);
    ~CpuLoadSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::shared_ptr<const CpuLoads> loads;
    const std::size_t core;
};

} // namespace Oxa::Device::Linux::Sources
