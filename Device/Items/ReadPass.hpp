#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Items
{

/// One read of one or several items that belong together. Sources that share a snapshot of the machine take it once per
/// pass. A value type.
class ReadPass final
{
public:
    /// A pass that no other equals. Safe from any thread.
    [[nodiscard]] static ReadPass Begin() noexcept;

    bool operator==(const ReadPass&) const noexcept = default;

private:
    explicit ReadPass(uint64 number) noexcept;

    uint64 number;
};

} // namespace Oxa::Device::Linux::Items
