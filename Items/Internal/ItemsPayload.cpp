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

/// As in a device description; empty for no value, and for types that no item has.
std::string_view GetName(RscType type) noexcept
{
    switch (type)
    {
    case RscType::Bool:
        return "bool";
    case RscType::Int8:
        return "int8";
    case RscType::Uint8:
        return "uint8";
    case RscType::Int16:
        return "int16";
    case RscType::Uint16:
        return "uint16";
    case RscType::Int32:
        return "int32";
    case RscType::Uint32:
        return "uint32";
    case RscType::Int64:
        return "int64";
    case RscType::Uint64:
        return "uint64";
    case RscType::Real32:
        return "real32";
    case RscType::Real64:
        return "real64";
    case RscType::String:
        return "string";
    default:
        return "";
    }
}

std::string_view GetName(ItemOrigin origin) noexcept
{
    switch (origin)
    {
    case ItemOrigin::Measured:
        return "measured";
    case ItemOrigin::Fixed:
        return "fixed";
    case ItemOrigin::Simulated:
        return "simulated";
    case ItemOrigin::Absent:
        break;
    }
    return "absent";
}

std::string_view GetName(ItemQuality quality) noexcept
{
    switch (quality)
    {
    case ItemQuality::Good:
        return "good";
    case ItemQuality::Old:
        return "old";
    case ItemQuality::Missing:
        break;
    }
    return "missing";
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

void WriteItem(JsonWriter& writer, const DescribedItem& item, const ItemState& state)
{
    const bool isTypeDescribed = item.type != RscType::NotSet;
    writer.WriteValue("key", state.key);
    writer.WriteValue("type", GetName(isTypeDescribed ? item.type : state.value.GetType()));
    writer.WriteValue("unit", item.unit);
    writer.WriteValue("description", item.description);
    writer.WriteValue("origin", GetName(state.origin));
    writer.WriteValue("quality", GetName(state.quality));
    WriteItemValue(writer, state.value);
    writer.WriteValue("ageMilliseconds", state.age.count());
    writer.WriteValue("cause", state.cause);
    writer.WriteValue("history", item.hasHistory);
}

} // namespace

ItemsPayload::ItemsPayload(std::span<const DescribedItem> descriptions, std::span<const ItemState> states,
                           bool isCut) noexcept
    : descriptions(descriptions), states(states), isCut(isCut)
{
}

ItemsPayload::~ItemsPayload() = default;

void ItemsPayload::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void ItemsPayload::WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    static const DescribedItem noDescription;
    std::size_t writtenCount = 0;
    auto next = descriptions.begin();
    writer.WriteStartComplexArray("items");
    for (; writtenCount < states.size() && writer.GetText().size() < maximumBytes; ++writtenCount)
    {
        const ItemState& state = states[writtenCount];
        if (next == descriptions.end() || next->key != state.key)
        {
            next = std::ranges::lower_bound(descriptions, state.key, {}, &DescribedItem::key);
        }
        const bool isDescribed = next != descriptions.end() && next->key == state.key;
        writer.TryWriteStartComplexArrayItem();
        WriteItem(writer, isDescribed ? *next++ : noDescription, state);
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
