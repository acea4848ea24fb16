#pragma once

#include "Device/Items/ItemTable.hpp"
#include "Device/Machine/BoundedCalls.hpp"
#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Oxa::Device::Linux::Items
{

/// What a history takes its times from.
struct HistoryClocks
{
    /// Counts while the machine sleeps, too, and never jumps.
    [[nodiscard]] static Machine::SteadyTime ReadBootClock() noexcept;

    /// Milliseconds since 1970, UTC.
    [[nodiscard]] static int64 ReadSystemClock() noexcept;

    Machine::SteadyClock steady = &ReadBootClock;
    std::function<int64()> system = &ReadSystemClock;
};

/// The values that the marked items of a table had in the last 24 hours, one in every 10 seconds, as numbers with 24
/// bits of precision, in memory: a new process begins with an empty history. When the sample was taken is counted by a
/// clock that never jumps; a time of day is only computed when a history is read, by the time of day at that moment, so
/// a clock that is set moves no sample from another.
/// A period without a sample, and one whose item had no number, is a gap; so is a value that a source made up in place
/// of the item's own. Threads: one samples, any number read.
class ItemHistories final
{
public:
    static constexpr std::size_t maximumItems = 16;
    static constexpr std::chrono::seconds period{10};
    static constexpr std::size_t periodCount = Interface::Services::IDeviceItemService::historyLength / period;

    // All of the memory; it is used as samples come.
    static_assert(maximumItems * periodCount * sizeof(float) <= 600'000);

    /// Shares the table. Requires: at most `maximumItems` of its items are marked.
    explicit ItemHistories(std::shared_ptr<const ItemTable> items, HistoryClocks clocks = {});

    [[nodiscard]] bool IsEmpty() const noexcept
    {
        return marked.empty();
    }

    /// Reads the items, unless that was done in the present period.
    void Sample();

    /// As `IDeviceItemService::ReadHistory`.
    [[nodiscard]] Interface::Services::ItemHistory Read(const BasicString& key, int64 from, int64 to,
                                                        std::size_t points) const;

private:
    /// The number of the period since the beginning.
    using Period = int64;

    [[nodiscard]] std::chrono::milliseconds GetElapsed() const;
    [[nodiscard]] std::size_t FindColumn(const BasicString& key) const;
    [[nodiscard]] float* GetRow(Period number) const OXA_REQUIRES(mutex);
    [[nodiscard]] float GetSample(Period number, std::size_t column) const OXA_REQUIRES(mutex);
    [[nodiscard]] Interface::Services::HistoryPoint Summarize(Period begin, Period end, std::size_t column) const
        OXA_REQUIRES(mutex);

    const std::shared_ptr<const ItemTable> items;
    const HistoryClocks clocks;
    const Machine::SteadyTime beginning;
    const std::vector<DeviceItem*> marked;

    mutable System::Commons::Mutex mutex;
    /// One row for each period, in a ring; each has a column for each item. Untouched memory until it is first used.
    const std::unique_ptr<float[]> samples OXA_GUARDED_BY(mutex);
    /// The first and the last one with a row.
    Period first OXA_GUARDED_BY(mutex) = 0;
    std::optional<Period> last OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Device::Linux::Items
