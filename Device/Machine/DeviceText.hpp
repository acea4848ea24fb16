#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <charconv>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string_view>
#include <system_error>

/// Parsing of text from a device: any bytes, any length. Safe from any thread; views are valid as long as the text that
/// they were taken from.
namespace Oxa::Device::Linux::Machine::DeviceText
{

/// The text up to its first NUL without blanks and line ends around it.
[[nodiscard]] std::string_view Trim(std::string_view text) noexcept;

/// Whether a manufacturer left the field as the firmware's template had it, for instance "To Be Filled By O.E.M.".
[[nodiscard]] bool IsPlaceholder(std::string_view text) noexcept;

/// Takes the text up to the separator off the front of `text`, the separator as well.
[[nodiscard]] std::string_view TakeUntil(std::string_view& text, char separator) noexcept;

/// The first word, taken off the front of `text`; words are separated by blanks. Empty when none is left.
[[nodiscard]] std::string_view TakeWord(std::string_view& text) noexcept;

/// A finite decimal number that is the whole text; exact for whole numbers that fit 64 bits.
[[nodiscard]] std::optional<long double> ParseReal(std::string_view text) noexcept;

/// A decimal number that is the whole text and fits its type.
template <std::integral T>
[[nodiscard]] std::optional<T> ParseNumber(std::string_view text) noexcept
{
    T number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
    {
        return std::nullopt;
    }
    return number;
}

} // namespace Oxa::Device::Linux::Machine::DeviceText
