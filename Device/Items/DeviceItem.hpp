#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <memory>
#include <optional>
#include <vector>

namespace Oxa::Device::Linux::Items
{

/// One item of the device: its key, its source, and what was already said about its failures. Owned by the item table.
/// Threads: safe from several threads.
class DeviceItem final : private System::Commons::Diagnostics::Logging::Loggable<DeviceItem>
{
public:
    /// `type`: what values the readers expect; none for any type. Requires: `source` is not null.
    DeviceItem(BasicString key, std::unique_ptr<IItemSource> source, std::optional<System::Rsc::RscType> type);

    /// Sets the value, to the type NotSet when the source has none or one that does not fit the item's type; every
    /// cause of that is logged once. Nothing that the source throws escapes.
    void Read(const ReadPass& pass, ItemValue& value);

    /// The same with the cause, and nothing is logged.
    [[nodiscard]] ItemReading TryRead(const ReadPass& pass);

    [[nodiscard]] const BasicString& GetKey() const noexcept;
    [[nodiscard]] const IItemSource& GetSource() const noexcept;

private:
    [[nodiscard]] bool IsNewCause(const BasicString& cause);

    const BasicString key;
    const std::unique_ptr<IItemSource> source;
    const std::optional<System::Rsc::RscType> type;
    System::Commons::Mutex mutex;
    std::vector<BasicString> loggedCauses;
};

} // namespace Oxa::Device::Linux::Items
