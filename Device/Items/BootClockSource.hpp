#pragma once

#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Items
{

/// Whole seconds since the running machine booted, sleep included. Safe from any thread.
class BootClockSource final : public IItemSource
{
public:
    BootClockSource();
    ~BootClockSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
};

} // namespace Oxa::Device::Linux::Items
