// The mutex guards the ring. It is held to write or to read samples, never while items are read.

#include "Device/Items/ItemHistories.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <ctime>
#include <limits>
#include <utility>

namespace Oxa::Device::Linux::Items
{

using Interface::Services::HistoryPoint;
using Interface::Services::IDeviceItemService;
using Interface::Services::ItemHistory;
using std::chrono::milliseconds;
using System::Commons::ArgumentException;
using System::Commons::MutexLock;

namespace
{

constexpr float gap = std::numeric_limits<float>::quiet_NaN();
constexpr int64 periodMilliseconds = milliseconds(ItemHistories::period).count();
constexpr int64 historyMilliseconds = milliseconds(IDeviceItemService::historyLength).count();

std::vector<DeviceItem*> SelectMarked(const ItemTable& items)
{
    std::vector<DeviceItem*> marked = items.GetItems();
    std::erase_if(marked, [](const DeviceItem* item) { return !item->GetMeaning().hasHistory; });
    assert(marked.size() <= ItemHistories::maximumItems);
    return marked;
}

/// The first period that begins at this time after the beginning, or later.
constexpr int64 FindPeriod(int64 elapsedMilliseconds) noexcept
{
    const int64 whole = elapsedMilliseconds / periodMilliseconds;
    return whole + (elapsedMilliseconds > whole * periodMilliseconds ? 1 : 0);
}

constexpr int64 DivideUp(int64 number, int64 divisor) noexcept
{
    return (number + divisor - 1) / divisor;
}

float TakeSample(DeviceItem& item, const ReadPass& pass)
{
    const ItemReading reading = item.TryRead(pass);
    const auto number =
        reading.origin == item.GetSource().GetOrigin() ? ItemConversion::GetNumber(reading.value) : std::nullopt;
    const bool fits = number && std::abs(*number) <= std::numeric_limits<float>::max();
    return fits ? static_cast<float>(*number) : gap;
}

} // namespace

Machine::SteadyTime HistoryClocks::ReadBootClock() noexcept
{
    timespec time = {};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return Machine::SteadyTime(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

int64 HistoryClocks::ReadSystemClock() noexcept
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

ItemHistories::ItemHistories(std::shared_ptr<const ItemTable> items, HistoryClocks clocks)
    : items(std::move(items)),
      clocks(std::move(clocks)),
      beginning(this->clocks.steady()),
      marked(SelectMarked(*this->items)),
      samples(std::make_unique_for_overwrite<float[]>(marked.size() * periodCount))
{
}

void ItemHistories::Sample()
{
    const Period present = GetElapsed() / period;
    {
        const MutexLock lock(mutex);
        if (last && *last >= present)
        {
            return;
        }
    }
    std::array<float, maximumItems> values = {};
    const auto pass = ReadPass::Begin();
    std::ranges::transform(marked, values.begin(), [&pass](DeviceItem* item) { return TakeSample(*item, pass); });

    const MutexLock lock(mutex);
    first = last ? std::max<Period>(first, present - Period(periodCount) + 1) : present;
    for (Period missed = last ? std::max(*last + 1, first) : present; missed < present; ++missed)
    {
        std::fill_n(GetRow(missed), marked.size(), gap);
    }
    std::copy_n(values.begin(), marked.size(), GetRow(present));
    last = present;
}

ItemHistory ItemHistories::Read(const BasicString& key, int64 from, int64 to, std::size_t points) const
{
    const std::size_t column = FindColumn(key);
    if (from >= to)
    {
        throw ArgumentException::Create("from", from, "It must be before 'to'");
    }
    if (points < 1 || points > IDeviceItemService::maximumHistoryPoints)
    {
        throw ArgumentException::Create("points", points, "The number of points must be from 1 to 1000");
    }
    const int64 now = clocks.system();
    const int64 elapsed = GetElapsed().count();
    const auto findPeriod = [now, elapsed](int64 time)
    {
        return FindPeriod(std::clamp(time, now - historyMilliseconds, now) - now + elapsed);
    };
    const Period present = elapsed / periodMilliseconds;
    const MutexLock lock(mutex);
    // The present period is no gap as long as its sample is still to come.
    const Period begin = findPeriod(from);
    const Period end = std::clamp(findPeriod(to), begin, std::max(begin, present + (last && *last >= present ? 1 : 0)));
    const Period periodsPerPoint = std::max<Period>(DivideUp(end - begin, static_cast<Period>(points)), 1);

    ItemHistory history;
    history.start = now - elapsed + begin * periodMilliseconds;
    history.step = periodsPerPoint * periodMilliseconds;
    history.points.reserve(static_cast<std::size_t>(DivideUp(end - begin, periodsPerPoint)));
    for (Period next = begin; next < end; next += periodsPerPoint)
    {
        history.points.push_back(Summarize(next, std::min(next + periodsPerPoint, end), column));
    }
    return history;
}

milliseconds ItemHistories::GetElapsed() const
{
    return std::chrono::duration_cast<milliseconds>(clocks.steady() - beginning);
}

std::size_t ItemHistories::FindColumn(const BasicString& key) const
{
    const auto found =
        std::ranges::find(marked, key, [](const DeviceItem* item) -> const BasicString& { return item->GetKey(); });
    if (found == marked.end())
    {
        throw ArgumentException::Create(
            "key", key, items->TryFind(key) == nullptr ? "There is no item of this key" : "The item has no history");
    }
    return static_cast<std::size_t>(found - marked.begin());
}

float* ItemHistories::GetRow(Period number) const
{
    return samples.get() + static_cast<std::size_t>(number) % periodCount * marked.size();
}

float ItemHistories::GetSample(Period number, std::size_t column) const
{
    return last && number >= first && number <= *last ? GetRow(number)[column] : gap;
}

HistoryPoint ItemHistories::Summarize(Period begin, Period end, std::size_t column) const
{
    HistoryPoint point = {gap, gap, gap};
    double sum = 0;
    int count = 0;
    for (Period number = begin; number < end; ++number)
    {
        const float sample = GetSample(number, column);
        if (!std::isnan(sample))
        {
            // fmin and fmax return the number when the other operand is NaN.
            point.minimum = std::fmin(point.minimum, sample);
            point.maximum = std::fmax(point.maximum, sample);
            sum += static_cast<double>(sample);
            ++count;
        }
    }
    if (count > 0)
    {
        point.mean = static_cast<float>(sum / count);
    }
    return point;
}

} // namespace Oxa::Device::Linux::Items
