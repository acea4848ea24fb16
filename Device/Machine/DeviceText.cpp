#include "Device/Machine/DeviceText.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace Oxa::Device::Linux::Machine::DeviceText
{

namespace
{

constexpr std::array<std::string_view, 17> placeholders = {"",
                                                           "-",
                                                           "default string",
                                                           "empty",
                                                           "n/a",
                                                           "none",
                                                           "not applicable",
                                                           "not available",
                                                           "not specified",
                                                           "o.e.m.",
                                                           "oem",
                                                           "sku",
                                                           "system product name",
                                                           "system serial number",
                                                           "system version",
                                                           "to be filled by o.e.m.",
                                                           "unknown"};

char ToLower(char character) noexcept
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool EqualsLower(std::string_view text, std::string_view lowerText) noexcept
{
    return std::equal(text.begin(), text.end(), lowerText.begin(), lowerText.end(),
                      [](char left, char right) { return ToLower(left) == right; });
}

bool IsBlank(char character) noexcept
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

} // namespace

std::string_view Trim(std::string_view text) noexcept
{
    text = text.substr(0, text.find('\0'));
    while (!text.empty() && IsBlank(text.front()))
    {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back()))
    {
        text.remove_suffix(1);
    }
    return text;
}

bool IsPlaceholder(std::string_view text) noexcept
{
    return std::any_of(placeholders.begin(), placeholders.end(),
                       [text](std::string_view placeholder) { return EqualsLower(text, placeholder); });
}

std::string_view TakeUntil(std::string_view& text, char separator) noexcept
{
    const std::size_t length = std::min(text.find(separator), text.size());
    const std::string_view piece = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return piece;
}

std::string_view TakeWord(std::string_view& text) noexcept
{
    const auto* const begin = std::find_if_not(text.begin(), text.end(), IsBlank);
    const auto* const end = std::find_if(begin, text.end(), IsBlank);
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    return {begin, end};
}

std::optional<long double> ParseReal(std::string_view text) noexcept
{
    if (const auto number = ParseNumber<int64>(text))
    {
        return static_cast<long double>(*number);
    }
    if (const auto number = ParseNumber<uint64>(text))
    {
        return static_cast<long double>(*number);
    }
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number))
    {
        return std::nullopt;
    }
    return number;
}

} // namespace Oxa::Device::Linux::Machine::DeviceText
