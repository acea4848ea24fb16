#pragma once

#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

namespace Oxa::Tests::Items
{

using Oxa::Device::Interface::Services::DescribedItem;
using Oxa::Device::Interface::Services::IDeviceItemService;
using Oxa::Device::Interface::Services::ItemHistory;
using Oxa::Device::Interface::Services::ItemOrigin;
using Oxa::Device::Interface::Services::ItemPage;
using Oxa::Device::Interface::Services::ItemQuality;
using Oxa::Device::Interface::Services::ItemState;
using Oxa::Device::Interface::Services::ItemValue;
using System::Rsc::RscType;

/// The items of a device that lives in memory.
class FakeDeviceItemService final : public IDeviceItemService
{
public:
    struct Item
    {
        DescribedItem description;
        ItemState state;
    };

    /// Measured just now; the test changes what it needs otherwise. Valid until it is removed.
    Item& Add(const BasicString& key, const ItemValue& value, const BasicString& unit = {})
    {
        Item& item = items[key];
        item.description.key = key;
        item.description.type = value.GetType();
        item.description.unit = unit;
        item.state.key = key;
        item.state.value = value;
        item.state.quality = ItemQuality::Good;
        return item;
    }

    [[nodiscard]] ItemPage<DescribedItem> ListItems(const BasicString& prefix, const BasicString& after,
                                                    std::size_t count) override
    {
        ++listCount;
        Fail();
        return MakePage<DescribedItem>(prefix, after, count, &Item::description);
    }

    [[nodiscard]] ItemPage<ItemState> ReadItems(const BasicString& prefix, const BasicString& after,
                                                std::size_t count) override
    {
        Fail();
        return MakePage<ItemState>(prefix, after, count, &Item::state);
    }

    /// A rising line with a gap at the second point.
    [[nodiscard]] ItemHistory ReadHistory(const BasicString& key, int64 from, int64 to, std::size_t points) override
    {
        historyRequests.emplace_back(from, to, points);
        Fail();
        const auto found = items.find(key);
        if (found == items.end() || !found->second.description.hasHistory)
        {
            throw System::Commons::ArgumentException::Create("key", key, "The item has no history");
        }
        ItemHistory history;
        history.start = from;
        history.step = (to - from) / static_cast<int64>(points);
        for (std::size_t index = 0; index < points; ++index)
        {
            constexpr float none = std::numeric_limits<float>::quiet_NaN();
            const auto value = static_cast<float>(index);
            history.points.push_back(index == 1
                                         ? Device::Interface::Services::HistoryPoint{none, none, none}
                                         : Device::Interface::Services::HistoryPoint{value, value + 0.1F, value + 1});
        }
        return history;
    }

    std::map<BasicString, Item> items;
    /// The most that one page holds.
    std::size_t pageItems = maximumPageItems;
    /// A page begins again at the first item.
    bool ignoresAfter = false;
    /// What every call throws.
    std::exception_ptr failure;
    std::size_t listCount = 0;
    /// Begin, end and points of each.
    std::vector<std::tuple<int64, int64, std::size_t>> historyRequests;

private:
    void Fail() const
    {
        if (failure)
        {
            std::rethrow_exception(failure);
        }
    }

    template <class T>
    [[nodiscard]] ItemPage<T> MakePage(const BasicString& prefix, const BasicString& after, std::size_t count,
                                       T Item::*part) const
    {
        ItemPage<T> page;
        for (const auto& [key, item] : items)
        {
            if (!key.starts_with(prefix) || (!ignoresAfter && key <= after))
            {
                continue;
            }
            page.isCut = page.items.size() == std::min(count, pageItems);
            if (page.isCut)
            {
                break;
            }
            page.items.push_back(item.*part);
        }
        return page;
    }
};

} // namespace Oxa::Tests::Items
