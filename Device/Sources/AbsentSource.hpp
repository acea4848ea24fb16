#pragma once

#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Sources
{

/// Stands for a part that the machine has not got, and that nobody would want made up. Safe from any thread.
class AbsentSource final : public Items::IItemSource
{
public:
    /// `part`: for people, for instance "FPGA".
    explicit AbsentSource(const BasicString& part);
    ~AbsentSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const BasicString cause;
};

} // namespace Oxa::Device::Linux::Sources
