#pragma once

#include "Device/Items/IItemSource.hpp"

namespace Oxa::Device::Linux::Items
{

/// A made-up constant for what the machine has not got. Safe from any thread.
class SimulatedSource final : public IItemSource
{
public:
    /// `meaning`: the value in words, for instance "45 °C".
    SimulatedSource(const ItemValue& value, BasicString meaning);
    ~SimulatedSource() override;

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
    [[nodiscard]] bool IsSimulated() const noexcept override;

private:
    const ItemValue value;
    const BasicString meaning;
};

} // namespace Oxa::Device::Linux::Items
