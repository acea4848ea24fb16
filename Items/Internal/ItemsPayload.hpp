#pragma once

#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <span>

namespace Oxa::Services::Modules::Wbm::Items::Internal
{

/// The part of an item in every response that does not depend on its value. A value type.
struct ListedItem
{
    explicit ListedItem(const Oxa::Device::Interface::Services::DescribedItem& item);

    BasicString key;
    BasicString unit;
    /// Else it is that of each value.
    bool hasType;
    /// Of the item's JSON object, written once: key, unit, description, history and, when it has one, the type.
    BasicString members;
};

/// The payload of `GetItems`: {"items":[…],"isCut":false}. Texts may be any bytes, and are written as valid JSON.
class ItemsPayload final : public System::Commons::Json::IJsonSerializable
{
public:
    using ItemState = Oxa::Device::Interface::Services::ItemState;

    /// No further item is begun when the text has this size.
    static constexpr std::size_t maximumBytes = std::size_t{128} * 1024;

    /// Borrows both, which are in the order of their keys. `isCut`: the service has more items than `states`. An item
    /// that is not listed is written with empty texts.
    ItemsPayload(std::span<const ListedItem> list, std::span<const ItemState> states, bool isCut) noexcept;
    ~ItemsPayload() override;

    /// Does nothing: responses are only written.
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

private:
    const std::span<const ListedItem> list;
    const std::span<const ItemState> states;
    const bool isCut;
};

/// The payload of `GetHistory`: the beginning, the step and three arrays of one length, with null for a gap.
class HistoryPayload final : public System::Commons::Json::IJsonSerializable
{
public:
    using ItemHistory = Oxa::Device::Interface::Services::ItemHistory;

    /// Borrows everything.
    HistoryPayload(const BasicString& key, const BasicString& unit, const ItemHistory& history) noexcept;
    ~HistoryPayload() override;

    /// Does nothing: responses are only written.
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

private:
    const BasicString& key;
    const BasicString& unit;
    const ItemHistory& history;
};

} // namespace Oxa::Services::Modules::Wbm::Items::Internal
