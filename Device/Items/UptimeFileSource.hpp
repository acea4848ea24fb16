#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/KeptFile.hpp"

namespace Oxa::Device::Linux::Items
{

/// Whole seconds since boot from a file like /proc/uptime: for a machine that is a folder of files. Safe from any
/// thread.
class UptimeFileSource final : public IItemSource
{
public:
    explicit UptimeFileSource(BasicString path);
    ~UptimeFileSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    KeptFile file;
};

} // namespace Oxa::Device::Linux::Items
