#pragma once

#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Sources
{

/// Whole seconds since the running machine booted, sleep included. Safe from any thread.
class BootClockSource final : public Items::IItemSource
{
public:
    BootClockSource();
    ~BootClockSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
};

} // namespace Oxa::Device::Linux::Sources
