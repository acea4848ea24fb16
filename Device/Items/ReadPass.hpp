#pragma once

#include "Device/Machine/BoundedCalls.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Items
{

/// One read of one or several items that belong together. Sources that share a snapshot of the machine take it once per
/// pass, and all of them together wait for files that hang no longer than one budget says. A value type; a copy stands
/// for the same pass.
class ReadPass final
{
public:
    /// A pass that no other equals. Safe from any thread.
    [[nodiscard]] static ReadPass Begin() noexcept;

    bool operator==(const ReadPass& other) const noexcept
    {
        return number == other.number;
    }

    /// Threads: the one that reads in this pass.
    [[nodiscard]] Machine::WaitBudget& GetWaitBudget() const noexcept
    {
        return waitBudget;
    }

private:
    explicit ReadPass(uint64 number) noexcept;

    uint64 number;
    mutable Machine::WaitBudget waitBudget;
};

} // namespace Oxa::Device::Linux::Items
