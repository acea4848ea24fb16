#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Items/KeptFile.hpp"

namespace Oxa::Device::Linux::Items
{

/// The share of the memory that is not available to programs, in percent, rounded to the nearest, as an unsigned 8-bit
/// number: what MemAvailable leaves of MemTotal. Safe from any thread.
class MemorySource final : public IItemSource
{
public:
    /// `path`: a file like /proc/meminfo.
    explicit MemorySource(BasicString path);
    ~MemorySource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    KeptFile file;
};

} // namespace Oxa::Device::Linux::Items
