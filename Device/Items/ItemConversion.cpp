#include "Device/Items/ItemConversion.hpp"

#include "Device/Items/ItemTypeWords.hpp"
#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <cmath>
#include <concepts>
#include <limits>

namespace Oxa::Device::Linux::Items::ItemConversion
{

using System::Rsc::RscType;

namespace
{

template <class T>
long double Read(const ItemValue& value)
{
    T number = {};
    value.CopyTo(number);
    return static_cast<long double>(number);
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
    const long double exact = std::integral<T> ? std::round(number) : number;
    return IsInRange<T>(exact) ? ItemReading::Of(static_cast<T>(exact))
                               : ItemReading::Missing(fmt::format("a number is out of the range of {}",
                                                                  GetItemTypeWord(ItemValue(T()).GetType())));
}

ItemReading MakeBool(long double number)
{
    return number == 0 || number == 1 ? ItemReading::Of(number == 1)
                                      : ItemReading::Missing("a number is neither 0 nor 1, as a bool has to be");
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
    switch (value.GetType())
    {
    case RscType::Bool:
        return Read<bool>(value);
    case RscType::Int8:
        return Read<int8>(value);
    case RscType::Uint8:
        return Read<uint8>(value);
    case RscType::Int16:
        return Read<int16>(value);
    case RscType::Uint16:
        return Read<uint16>(value);
    case RscType::Int32:
        return Read<int32>(value);
    case RscType::Uint32:
        return Read<uint32>(value);
    case RscType::Int64:
        return Read<int64>(value);
    case RscType::Uint64:
        return Read<uint64>(value);
    case RscType::Real32:
        return Read<float>(value);
    case RscType::Real64:
        return Read<double>(value);
    case RscType::String:
        return Machine::DeviceText::ParseReal(Machine::DeviceText::Trim(value.GetText()));
    default:
        return std::nullopt;
    }
}

ItemReading FromNumber(long double number, RscType type)
{
    switch (type)
    {
    case RscType::Bool:
        return MakeBool(number);
    case RscType::Int8:
        return Make<int8>(number);
    case RscType::Uint8:
        return Make<uint8>(number);
    case RscType::Int16:
        return Make<int16>(number);
    case RscType::Uint16:
        return Make<uint16>(number);
    case RscType::Int32:
        return Make<int32>(number);
    case RscType::Uint32:
        return Make<uint32>(number);
    case RscType::Int64:
        return Make<int64>(number);
    case RscType::Uint64:
        return Make<uint64>(number);
    case RscType::Real32:
        return Make<float>(number);
    case RscType::Real64:
        return Make<double>(number);
    case RscType::String:
        return ItemReading::OfText(PrintNumber(number));
    default:
        return ItemReading::Missing(fmt::format("a number is no {}", GetItemTypeWord(type)));
    }
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
                  : ItemReading::Missing(fmt::format("a text is no {}", GetItemTypeWord(type)));
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
                  : ItemReading::Missing(fmt::format("a value of the type {} is no {}",
                                                     GetItemTypeWord(value.GetType()), GetItemTypeWord(type)));
}

ItemReading ReadAs(std::optional<RscType> type, IItemSource& source, const ReadPass& pass)
{
    ItemReading reading = source.Read(pass);
    if (!type || !reading.HasValue() || reading.value.GetType() == *type)
    {
        return reading;
    }
    reading = Convert(reading.value, *type);
    if (!reading.HasValue())
    {
        reading.cause += ", " + source.Describe();
    }
    return reading;
}

} // namespace Oxa::Device::Linux::Items::ItemConversion
