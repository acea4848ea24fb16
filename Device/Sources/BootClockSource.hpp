#pragma once

#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Sources
{

/// Whole seconds since the running machine booted, sleep included. Cheaper than /proc/uptime, for which the kernel adds
/// up the idle times of all processors. Safe from any thread.
class BootClockSource final : public Items::IItemSource
{
public:
    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
};

} // namespace Oxa::Device::Linux::Sources
