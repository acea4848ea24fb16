#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <string_view>
#include <utility>

namespace Oxa::Device::Linux::Items
{

using Interface::Services::ItemValue;

/// What a source gave: a value, or why there is none. A value type; a reading with a value allocates nothing.
struct ItemReading
{
    /// A value holds 512 bytes, one of them for the terminating NUL.
    static constexpr std::size_t maximumTextBytes = 511;

    // A constructor makes this no aggregate: aggregate initialisation would first set all 512 bytes of a text to zero.
    ItemReading(const ItemValue& value, BasicString cause) noexcept : value(value), cause(std::move(cause)) {}

    /// Of type NotSet exactly when there is a cause.
    ItemValue value;
    BasicString cause;

    template <class T>
    [[nodiscard]] static ItemReading Of(const T& scalar)
    {
        return {ItemValue(scalar), {}};
    }

    /// Text of any bytes and any length: what lies outside a value's capacity is cut off between two characters.
    [[nodiscard]] static ItemReading OfText(std::string_view text);

    [[nodiscard]] static ItemReading Missing(BasicString cause)
    {
        return {ItemValue(), std::move(cause)};
    }

    [[nodiscard]] bool HasValue() const noexcept
    {
        return cause.empty();
    }
};

} // namespace Oxa::Device::Linux::Items
