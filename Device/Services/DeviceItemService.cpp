// Items are read without a lock; the mutex guards the last values, and is held for a copy of one of them only.

#include "Device/Services/DeviceItemService.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Oxa::Device::Linux::Services
{

using Interface::Services::DescribedItem;
using Interface::Services::ItemHistory;
using Interface::Services::ItemOrigin;
using Interface::Services::ItemPage;
using Interface::Services::ItemQuality;
using Interface::Services::ItemState;
using Interface::Services::ItemValue;
using Items::DeviceItem;
using System::Commons::MutexLock;

namespace
{

DescribedItem Describe(const DeviceItem& item)
{
    const Items::ItemMeaning& meaning = item.GetMeaning();
    return {item.GetKey(),
            item.GetType().value_or(System::Rsc::RscType::NotSet),
            meaning.unit,
            meaning.description,
            item.GetSource().GetOrigin(),
            meaning.hasHistory};
}

/// A path of the machine can hold any bytes.
BasicString MakePresentable(const BasicString& cause)
{
    const BasicString text = System::Commons::Text::EscapeControlCharacters(cause);
    return BasicString(System::Commons::Text::Truncate(text, DeviceItemService::maximumTextBytes));
}

} // namespace

DeviceItemService::DeviceItemService(std::shared_ptr<const Items::ItemTable> items,
                                     std::shared_ptr<const Items::ItemHistories> histories, Machine::SteadyClock clock)
    : items(std::move(items)),
      histories(std::move(histories)),
      clock(std::move(clock)),
      sorted(this->items->GetItems()),
      lastValues(sorted.size())
{
}

ItemPage<DescribedItem> DeviceItemService::ListItems(const BasicString& prefix, const BasicString& after,
                                                     std::size_t count)
{
    const Range range = Find(prefix, after, count);
    ItemPage<DescribedItem> page;
    page.isCut = range.isCut;
    page.items.reserve(range.end - range.begin);
    for (std::size_t place = range.begin; place < range.end; ++place)
    {
        page.items.push_back(Describe(*sorted[place]));
    }
    return page;
}

ItemPage<ItemState> DeviceItemService::ReadItems(const BasicString& prefix, const BasicString& after, std::size_t count)
{
    const Range range = Find(prefix, after, count);
    const auto pass = Items::ReadPass::Begin();
    ItemPage<ItemState> page;
    page.isCut = range.isCut;
    page.items.reserve(range.end - range.begin);
    for (std::size_t place = range.begin; place < range.end; ++place)
    {
        page.items.push_back(Read(place, pass));
    }
    return page;
}

ItemHistory DeviceItemService::ReadHistory(const BasicString& key, int64 from, int64 to, std::size_t points)
{
    return histories->Read(key, from, to, points);
}

DeviceItemService::Range DeviceItemService::Find(const BasicString& prefix, const BasicString& after,
                                                 std::size_t count) const
{
    const auto getKey = [](const DeviceItem* item) -> const BasicString&
    {
        return item->GetKey();
    };
    const auto begin = std::max(std::ranges::lower_bound(sorted, prefix, {}, getKey),
                                std::ranges::upper_bound(sorted, after, {}, getKey));
    const auto end = std::find_if_not(begin, sorted.end(),
                                      [&prefix](const DeviceItem* item) { return item->GetKey().starts_with(prefix); });
    Range range;
    range.begin = static_cast<std::size_t>(begin - sorted.begin());
    const std::size_t found = static_cast<std::size_t>(end - begin);
    const std::size_t taken = std::min({found, count, maximumPageItems});
    range.end = range.begin + taken;
    range.isCut = taken < found;
    return range;
}

ItemState DeviceItemService::Read(std::size_t place, const Items::ReadPass& pass)
{
    DeviceItem& item = *sorted[place];
    const Items::ItemReading reading = item.TryRead(pass);
    ItemState state;
    state.key = item.GetKey();
    if (!reading.HasValue())
    {
        state.origin = item.GetSource().GetOrigin();
        state.cause = MakePresentable(reading.cause);
        UseLastValue(place, state);
        return state;
    }
    state.value = reading.value;
    state.quality = ItemQuality::Good;
    state.origin = reading.origin;
    KeepLastValue(place, reading);
    return state;
}

void DeviceItemService::KeepLastValue(std::size_t place, const Items::ItemReading& reading)
{
    const MutexLock lock(mutex);
    LastValue& last = lastValues[place];
    if (reading.origin != ItemOrigin::Measured)
    {
        last.value.reset();
        return;
    }
    if (!last.value)
    {
        last.value = std::make_unique<ItemValue>();
    }
    *last.value = reading.value;
    last.time = clock();
}

void DeviceItemService::UseLastValue(std::size_t place, ItemState& state)
{
    const MutexLock lock(mutex);
    const LastValue& last = lastValues[place];
    if (!last.value)
    {
        return;
    }
    const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(clock() - last.time);
    if (age <= maximumAge)
    {
        state.value = *last.value;
        state.quality = ItemQuality::Old;
        state.origin = ItemOrigin::Measured;
        state.age = age;
    }
}

} // namespace Oxa::Device::Linux::Services
