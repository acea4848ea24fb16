#pragma once

#include "Device/Items/ItemReading.hpp"
#include "Device/Items/ReadPass.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Items
{

/// Where the value of one item comes from. Owned by the item.
/// Threads: safe from several threads. What the machine refuses is a reading without a value, never an exception.
class IItemSource
{
public:
    virtual ~IItemSource();

    [[nodiscard]] virtual ItemReading Read(const ReadPass& pass) = 0;

    /// For people, for instance "file /proc/uptime" or "simulated: constant 45 °C".
    [[nodiscard]] virtual BasicString Describe() const = 0;

    /// Whether the value is made up because the machine has nothing to read it from.
    [[nodiscard]] virtual bool IsSimulated() const noexcept;

    /// Whether the value is made up only as long as the machine gives none.
    [[nodiscard]] virtual bool IsSimulatedAtTimes() const noexcept;
};

} // namespace Oxa::Device::Linux::Items
