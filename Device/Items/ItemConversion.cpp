#include "Device/Items/ItemConversion.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <limits>
#include <utility>

namespace Oxa::Device::Linux::Items
{

using Oxa::Device::Interface::Services::FormatItemValue;
using System::Commons::Text::EscapeControlCharacters;
using System::Rsc::RscType;

namespace
{

constexpr std::array<std::pair<std::string_view, RscType>, 12> typeWords = {{
    {"bool", RscType::Bool},
    {"int8", RscType::Int8},
    {"uint8", RscType::Uint8},
    {"int16", RscType::Int16},
    {"uint16", RscType::Uint16},
    {"int32", RscType::Int32},
    {"uint32", RscType::Uint32},
    {"int64", RscType::Int64},
    {"uint64", RscType::Uint64},
    {"real32", RscType::Real32},
    {"real64", RscType::Real64},
    {"string", RscType::String},
}};

} // namespace

std::optional<RscType> ParseItemType(std::string_view word) noexcept
{
    const auto* const found =
        std::find_if(typeWords.begin(), typeWords.end(), [word](const auto& entry) { return entry.first == word; });
    return found == typeWords.end() ? std::nullopt : std::optional(found->second);
}

BasicString GetItemTypeWord(RscType type)
{
    const auto* const found =
        std::find_if(typeWords.begin(), typeWords.end(), [type](const auto& entry) { return entry.second == type; });
    return found == typeWords.end() ? fmt::format("{}", type) : BasicString(found->first);
}

BasicString FormatItem(std::string_view key, const ItemReading& reading, std::string_view unit)
{
    const BasicString name = EscapeControlCharacters(key);
    if (!reading.HasValue())
    {
        return name + " has no value";
    }
    return fmt::format("{} = {}{}{} ({}{})", name, EscapeControlCharacters(FormatItemValue(reading.value)),
                       unit.empty() ? "" : " ", unit, GetItemTypeWord(reading.value.GetType()),
                       reading.origin == ItemOrigin::Simulated ? ", simulated" : "");
}

} // namespace Oxa::Device::Linux::Items

namespace Oxa::Device::Linux::Items::ItemConversion
{

using System::Rsc::RscType;

namespace
{

/// Calls `use` with a zero of the number type, a bool included; not for other types.
template <class Use>
void VisitNumberType(RscType type, const Use& use)
{
    switch (type)
    {
    case RscType::Bool:
        return use(false);
    // NOLINTNEXTLINE(bugprone-branch-clone): the branches differ in the type of the zero.
    case RscType::Int8:
        return use(int8());
    case RscType::Uint8:
        return use(uint8());
    case RscType::Int16:
        return use(int16());
    case RscType::Uint16:
        return use(uint16());
    case RscType::Int32:
        return use(int32());
    case RscType::Uint32:
        return use(uint32());
    case RscType::Int64:
        return use(int64());
    case RscType::Uint64:
        return use(uint64());
    case RscType::Real32:
        return use(float());
    case RscType::Real64:
        return use(double());
    default:
        return;
    }
}

/// The bounds are powers of two, so that they are exact in every floating-point type.
template <std::integral T>
bool IsInRange(long double number) noexcept
{
    return number >= static_cast<long double>(std::numeric_limits<T>::min()) &&
           number < std::ldexp(1.0L, std::numeric_limits<T>::digits);
}

template <std::floating_point T>
bool IsInRange(long double number) noexcept
{
    return std::abs(number) <= static_cast<long double>(std::numeric_limits<T>::max());
}

template <class T>
ItemReading Make(long double number)
{
    if constexpr (std::same_as<T, bool>)
    {
        return number == 0 || number == 1 ? ItemReading::Of(number == 1)
                                          : ItemReading::Missing("a bool must be 0 or 1");
    }
    const long double exact = std::integral<T> ? std::round(number) : number;
    return IsInRange<T>(exact) ? ItemReading::Of(static_cast<T>(exact))
                               : ItemReading::Missing(fmt::format("the number is out of the range of {}",
                                                                  GetItemTypeWord(ItemValue(T()).GetType())));
}

BasicString PrintNumber(long double number)
{
    if (std::trunc(number) != number)
    {
        return fmt::format("{}", static_cast<double>(number));
    }
    if (IsInRange<int64>(number))
    {
        return std::to_string(static_cast<int64>(number));
    }
    return IsInRange<uint64>(number) ? std::to_string(static_cast<uint64>(number))
                                     : fmt::format("{}", static_cast<double>(number));
}

} // namespace

std::optional<long double> GetNumber(const ItemValue& value)
{
    if (value.GetType() == RscType::String)
    {
        return Machine::DeviceText::ParseReal(Machine::DeviceText::Trim(value.GetText()));
    }
    std::optional<long double> result;
    VisitNumberType(value.GetType(),
                    [&value, &result](auto number)
                    {
                        value.CopyTo(number);
                        result = static_cast<long double>(number);
                    });
    return result;
}

ItemReading FromNumber(long double number, RscType type)
{
    if (type == RscType::String)
    {
        return ItemReading::OfText(PrintNumber(number));
    }
    std::optional<ItemReading> result;
    VisitNumberType(type, [number, &result](auto zero) { result = Make<decltype(zero)>(number); });
    return result ? *result : ItemReading::Missing(fmt::format("a number cannot be a {}", GetItemTypeWord(type)));
}

ItemReading FromText(std::string_view text, RscType type)
{
    if (type == RscType::String)
    {
        return ItemReading::OfText(text);
    }
    if (type == RscType::Bool && (text == "true" || text == "false"))
    {
        return ItemReading::Of(text == "true");
    }
    const auto number = Machine::DeviceText::ParseReal(text);
    return number ? FromNumber(*number, type)
                  : ItemReading::Missing(fmt::format("the text is not a valid {}", GetItemTypeWord(type)));
}

ItemReading Convert(const ItemValue& value, RscType type)
{
    if (value.GetType() == type)
    {
        return {value, {}};
    }
    if (value.GetType() == RscType::String)
    {
        return FromText(Machine::DeviceText::Trim(value.GetText()), type);
    }
    if (value.GetType() == RscType::Bool && type == RscType::String)
    {
        return ItemReading::OfText(value.ToString());
    }
    const auto number = GetNumber(value);
    return number ? FromNumber(*number, type)
                  : ItemReading::Missing(fmt::format("a value of the type {} cannot be a {}",
                                                     GetItemTypeWord(value.GetType()), GetItemTypeWord(type)));
}

ItemReading ReadAs(std::optional<RscType> type, IItemSource& source, const ReadPass& pass)
{
    ItemReading reading = source.Read(pass);
    if (!type || !reading.HasValue() || reading.value.GetType() == *type)
    {
        return reading;
    }
    const ItemOrigin origin = reading.origin;
    reading = Convert(reading.value, *type);
    reading.origin = origin;
    if (!reading.HasValue())
    {
        reading.cause += ", " + source.Describe();
    }
    return reading;
}

} // namespace Oxa::Device::Linux::Items::ItemConversion
