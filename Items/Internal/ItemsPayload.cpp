#include "Items/Internal/ItemsPayload.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

namespace Oxa::Services::Modules::Wbm::Items::Internal
{

using namespace Oxa::Device::Interface::Services;
using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonSerializationContext;
using System::Commons::Json::JsonWriter;
using System::Rsc::RscType;

namespace
{

constexpr const char* valueMember = "value";

/// The member "type", as in a device description; empty for no value, and for types that no item has.
std::string_view GetMember(RscType type) noexcept
{
    switch (type)
    {
    case RscType::Bool:
        return R"("type":"bool")";
    case RscType::Int8:
        return R"("type":"int8")";
    case RscType::Uint8:
        return R"("type":"uint8")";
    case RscType::Int16:
        return R"("type":"int16")";
    case RscType::Uint16:
        return R"("type":"uint16")";
    case RscType::Int32:
        return R"("type":"int32")";
    case RscType::Uint32:
        return R"("type":"uint32")";
    case RscType::Int64:
        return R"("type":"int64")";
    case RscType::Uint64:
        return R"("type":"uint64")";
    case RscType::Real32:
        return R"("type":"real32")";
    case RscType::Real64:
        return R"("type":"real64")";
    case RscType::String:
        return R"("type":"string")";
    default:
        return R"("type":"")";
    }
}

std::string_view GetMember(ItemOrigin origin) noexcept
{
    switch (origin)
    {
    case ItemOrigin::Measured:
        return R"("origin":"measured")";
    case ItemOrigin::Fixed:
        return R"("origin":"fixed")";
    case ItemOrigin::Simulated:
        return R"("origin":"simulated")";
    case ItemOrigin::Absent:
        break;
    }
    return R"("origin":"absent")";
}

template <class T>
void WriteScalar(JsonWriter& writer, const ItemValue& value)
{
    T content = {};
    value.CopyTo(content);
    writer.WriteValue(valueMember, content);
}

void WriteItemValue(JsonWriter& writer, const ItemValue& value)
{
    switch (value.GetType())
    {
    case RscType::None:
    case RscType::Void:
    case RscType::NotSet:
        return writer.WriteNull(valueMember);
    case RscType::Bool:
        return WriteScalar<bool>(writer, value);
    case RscType::Int8:
        return WriteScalar<int8>(writer, value);
    case RscType::Uint8:
        return WriteScalar<uint8>(writer, value);
    case RscType::Int16:
        return WriteScalar<int16>(writer, value);
    case RscType::Uint16:
        return WriteScalar<uint16>(writer, value);
    case RscType::Int32:
        return WriteScalar<int32>(writer, value);
    case RscType::Uint32:
        return WriteScalar<uint32>(writer, value);
    case RscType::Int64:
        return WriteScalar<int64>(writer, value);
    case RscType::Uint64:
        return WriteScalar<uint64>(writer, value);
    case RscType::Real32:
        return WriteScalar<float>(writer, value);
    case RscType::Real64:
        return WriteScalar<double>(writer, value);
    case RscType::String:
        return writer.WriteValue(valueMember, value.GetText());
    default:
        return writer.WriteValue(valueMember, FormatItemValue(value));
    }
}

void WriteItem(JsonWriter& writer, const ListedItem& item, const ItemState& state)
{
    writer.WriteMembers(item.members);
    if (!item.hasType)
    {
        writer.WriteMembers(GetMember(state.value.GetType()));
    }
    writer.WriteMembers(GetMember(state.origin));
    WriteItemValue(writer, state.value);
    if (state.quality == ItemQuality::Good)
    {
        // Read now, so it has neither age nor cause.
        writer.WriteMembers(R"("quality":"good","ageMilliseconds":0,"cause":"")");
        return;
    }
    writer.WriteValue("quality", state.quality == ItemQuality::Old ? "old" : "missing");
    writer.WriteValue("ageMilliseconds", state.age.count());
    writer.WriteValue("cause", state.cause);
}

bool HasType(const DescribedItem& item) noexcept
{
    return item.type != RscType::NotSet;
}

/// Without the braces.
BasicString WriteMembers(const DescribedItem& item)
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("key", item.key);
    writer.WriteValue("unit", item.unit);
    writer.WriteValue("description", item.description);
    writer.WriteValue("history", item.hasHistory);
    if (HasType(item))
    {
        writer.WriteMembers(GetMember(item.type));
    }
    writer.WriteEndObject();
    const std::string_view text = writer.GetText();
    return BasicString(text.substr(1, text.size() - 2));
}

ListedItem MakeUnlisted(const BasicString& key)
{
    DescribedItem item;
    item.key = key;
    return ListedItem(item);
}

} // namespace

ListedItem::ListedItem(const DescribedItem& item)
    : key(item.key), unit(item.unit), hasType(HasType(item)), members(WriteMembers(item))
{
}

ItemsPayload::ItemsPayload(std::span<const ListedItem> list, std::span<const ItemState> states, bool isCut) noexcept
    : list(list), states(states), isCut(isCut)
{
}

ItemsPayload::~ItemsPayload() = default;

void ItemsPayload::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void ItemsPayload::WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    std::size_t writtenCount = 0;
    auto next = list.begin();
    writer.WriteStartComplexArray("items");
    for (; writtenCount < states.size() && writer.GetText().size() < maximumBytes; ++writtenCount)
    {
        const ItemState& state = states[writtenCount];
        if (next == list.end() || next->key != state.key)
        {
            next = std::ranges::lower_bound(list, state.key, {}, &ListedItem::key);
        }
        writer.TryWriteStartComplexArrayItem();
        if (next != list.end() && next->key == state.key)
        {
            WriteItem(writer, *next++, state);
        }
        else
        {
            WriteItem(writer, MakeUnlisted(state.key), state);
        }
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
    writer.WriteValue("isCut", isCut || writtenCount < states.size());
}

HistoryPayload::HistoryPayload(const BasicString& key, const BasicString& unit, const ItemHistory& history) noexcept
    : key(key), unit(unit), history(history)
{
}

HistoryPayload::~HistoryPayload() = default;

void HistoryPayload::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void HistoryPayload::WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.WriteValue("key", key);
    writer.WriteValue("unit", unit);
    writer.WriteValue("start", history.start);
    writer.WriteValue("stepMilliseconds", history.step);
    const auto writeFigure = [this, &writer](const char* name, float HistoryPoint::*figure)
    {
        std::vector<float> values(history.points.size());
        std::ranges::transform(history.points, values.begin(), figure);
        writer.WriteSimpleArray(name, values);
    };
    writeFigure("minimum", &HistoryPoint::minimum);
    writeFigure("mean", &HistoryPoint::mean);
    writeFigure("maximum", &HistoryPoint::maximum);
}

} // namespace Oxa::Services::Modules::Wbm::Items::Internal
