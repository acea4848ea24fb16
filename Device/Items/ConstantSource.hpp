#pragma once

#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Items
{

/// A fixed value that is true of the machine. Safe from any thread.
class ConstantSource final : public IItemSource
{
public:
    explicit ConstantSource(const ItemValue& value);
    ~ConstantSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const ItemValue value;
};

} // namespace Oxa::Device::Linux::Items
