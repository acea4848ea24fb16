#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <chrono>
#include <cstddef>
#include <vector>

namespace Oxa::Device::Interface::Services
{

/// Where a value comes from. The numbers are part of the protocol.
enum class ItemOrigin : uint8
{
    /// The machine.
    Measured = 0,
    /// The description of the device: it does not change.
    Fixed = 1,
    /// Made up, because the machine has nothing to read it from.
    Simulated = 2,
    /// The device lacks this part, so there is no value.
    Absent = 3
};

/// How far a value can be relied on. The numbers are part of the protocol.
enum class ItemQuality : uint8
{
    /// Read now.
    Good = 0,
    /// Read before, at most `IDeviceItemService::maximumAge` ago; it cannot be read now.
    Old = 1,
    /// No value.
    Missing = 2
};

/// What is known of an item without reading it. A value type.
struct DescribedItem
{
    BasicString key;
    /// NotSet: that of each value.
    System::Rsc::RscType type = System::Rsc::RscType::NotSet;
    /// As people read it: "%", "°C", "B" for bytes, "s", "V"; empty for none.
    BasicString unit;
    /// One line of English; can be empty.
    BasicString description;
    /// Of an item with several sources, that of the first one which the device has.
    ItemOrigin origin = ItemOrigin::Measured;
    bool hasHistory = false;

    bool operator==(const DescribedItem&) const = default;
};

/// One item as it was read. A value type.
struct ItemState
{
    BasicString key;
    /// NotSet when it is missing.
    ItemValue value;
    ItemQuality quality = ItemQuality::Missing;
    /// Of this value: that of an item with several sources can differ from read to read.
    ItemOrigin origin = ItemOrigin::Measured;
    /// Since the value was read; 0 without a value.
    std::chrono::milliseconds age{};
    /// Why it could not be read now, in words; empty when the quality is good.
    BasicString cause;
};

/// A part of all items, in the order of their keys.
template <class T>
struct ItemPage
{
    std::vector<T> items;
    /// Whether more items follow; the last key is where to go on after.
    bool isCut = false;
};

/// The samples of one span of time. Not numbers (NaN) when there is no sample.
struct HistoryPoint
{
    float minimum = 0;
    float mean = 0;
    float maximum = 0;
};

/// The recent values of one item, in spans of the same length.
struct ItemHistory
{
    /// Of the first point's beginning, by the device's present clock: milliseconds since 1970, UTC.
    int64 start = 0;
    /// From one point to the next, in milliseconds.
    int64 step = 0;
    std::vector<HistoryPoint> points;
};

/// Every item of the device, with what is known of its value. For the values alone, IDeviceInfoService and
/// IDeviceStatusService are cheaper. Safe from any thread; a proxy throws RscServiceException when the service cannot
/// be reached.
class OXA_EXPORT IDeviceItemService : public System::Rsc::IRscService
{
public:
    /// The largest number of items in a page, so that one always fits into a message of the remote call layer.
    static constexpr std::size_t maximumPageItems = 128;

    /// Of a unit, and of every other text of an item, its value included.
    static constexpr std::size_t maximumUnitBytes = 32;
    static constexpr std::size_t maximumTextBytes = 511;

    /// Of a value that cannot be read any more.
    static constexpr std::chrono::seconds maximumAge{60};

    /// What the history holds.
    static constexpr std::chrono::hours historyLength{24};
    static constexpr std::size_t maximumHistoryPoints = 1000;

    ~IDeviceItemService() override;

    /// The items whose key begins with `prefix` and is greater than `after`, byte by byte; at most `count` of them, and
    /// `maximumPageItems`.
    [[nodiscard]] virtual ItemPage<DescribedItem> ListItems(const BasicString& prefix, const BasicString& after,
                                                            std::size_t count) = 0;

    /// The same items with their values, all read in one pass.
    [[nodiscard]] virtual ItemPage<ItemState> ReadItems(const BasicString& prefix, const BasicString& after,
                                                        std::size_t count) = 0;

    /// What the history holds between `from` and `to`, in milliseconds since 1970, UTC, by the device's present clock:
    /// at most `points` points, none shorter than the period of the samples; times that the history cannot hold are
    /// left out, so there can be no point at all. Throws ArgumentException for an unknown key, an item without history,
    /// a `from` that is not before `to`, or a number of points that is not from 1 to `maximumHistoryPoints`.
    [[nodiscard]] virtual ItemHistory ReadHistory(const BasicString& key, int64 from, int64 to, std::size_t points) = 0;
};

} // namespace Oxa::Device::Interface::Services
