#pragma once

#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Sources
{

/// A fixed value that is true of the machine. Safe from any thread.
class ConstantSource final : public Items::IItemSource
{
public:
    explicit ConstantSource(const Items::ItemValue& value);
    ~ConstantSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const Items::ItemValue value;
};

} // namespace Oxa::Device::Linux::Sources
