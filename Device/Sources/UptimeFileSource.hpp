#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"

namespace Oxa::Device::Linux::Sources
{

/// Whole seconds since boot from a file like /proc/uptime: for a machine that is a folder of files. Safe from any
/// thread.
class UptimeFileSource final : public Items::IItemSource
{
public:
    explicit UptimeFileSource(BasicString path);
    ~UptimeFileSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    Machine::KeptFile file;
};

} // namespace Oxa::Device::Linux::Sources
