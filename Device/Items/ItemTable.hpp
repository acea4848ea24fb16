#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Oxa::Device::Linux::Items
{

/// What an item's value means, for people. A value type.
struct ItemMeaning
{
    /// As people read it: "%", "°C"; empty for none.
    BasicString unit;
    /// One line of English.
    BasicString description;
    /// Whether the values of the last hours are kept.
    bool hasHistory = false;
};

/// One item of the device: its key, its source, and the logged causes of its failures. Owned by the item table.
/// Threads: safe from several threads.
class DeviceItem final : private System::Commons::Diagnostics::Logging::Loggable<DeviceItem>
{
public:
    /// `type`: of the values that readers expect; not set for any type. Requires: `source` is not null.
    DeviceItem(BasicString key, std::unique_ptr<IItemSource> source, std::optional<System::Rsc::RscType> type,
               ItemMeaning meaning);

    /// Sets the value, to the type NotSet when the source has none or one that does not fit the item's type; every
    /// cause of that is logged once. Catches what the source throws.
    void Read(const ReadPass& pass, ItemValue& value);

    /// The same with the cause, and nothing is logged.
    [[nodiscard]] ItemReading TryRead(const ReadPass& pass);

    [[nodiscard]] const BasicString& GetKey() const noexcept
    {
        return key;
    }

    [[nodiscard]] const IItemSource& GetSource() const noexcept
    {
        return *source;
    }

    [[nodiscard]] const std::optional<System::Rsc::RscType>& GetType() const noexcept
    {
        return type;
    }

    [[nodiscard]] const ItemMeaning& GetMeaning() const noexcept
    {
        return meaning;
    }

private:
    [[nodiscard]] bool IsNewCause(const BasicString& cause);

    const BasicString key;
    const std::unique_ptr<IItemSource> source;
    const std::optional<System::Rsc::RscType> type;
    const ItemMeaning meaning;
    System::Commons::Mutex mutex;
    std::vector<BasicString> loggedCauses OXA_GUARDED_BY(mutex);
};

/// Everything that can be read from this device, by key.
/// Threads: filled by one thread, then read by any number; each item under its own lock. A read allocates nothing.
class ItemTable final
{
public:
    /// `type`: the item's; not set: that of each of the source's values. Throws ArgumentException when the key is
    /// taken. Requires: `source` is not null.
    void Add(const BasicString& key, std::unique_ptr<IItemSource> source,
             std::optional<System::Rsc::RscType> type = std::nullopt, ItemMeaning meaning = {});

    /// Null for an unknown key. Valid as long as the table.
    [[nodiscard]] DeviceItem* TryFind(std::string_view key) const;

    /// The type NotSet for an unknown key.
    [[nodiscard]] ItemValue Read(std::string_view key) const;

    /// In the order of their keys.
    [[nodiscard]] std::vector<DeviceItem*> GetItems() const;

private:
    /// By the key that the item itself holds.
    std::unordered_map<std::string_view, std::unique_ptr<DeviceItem>> items;
};

} // namespace Oxa::Device::Linux::Items
