#include "Host/Audit/UtcTime.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <system_error>

namespace Oxa::Host::Audit
{

namespace
{

/// A number of `digits` digits at the text's begin, which is then removed from it.
std::optional<int> TakeNumber(std::string_view& text, std::size_t digits)
{
    int number = 0;
    const std::string_view part = text.substr(0, digits);
    const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), number);
    if (part.size() != digits || error != std::errc() || end != part.data() + part.size() || number < 0)
    {
        return std::nullopt;
    }
    text.remove_prefix(digits);
    return number;
}

bool TakeCharacter(std::string_view& text, char character)
{
    if (!text.starts_with(character))
    {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/// ".5" and the like: up to six digits; empty for something else. None is 0.
std::optional<int> TakeMicroseconds(std::string_view& text)
{
    constexpr std::size_t longest = 6;
    if (!TakeCharacter(text, '.'))
    {
        return 0;
    }
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    auto number = digits == 0 ? std::nullopt : TakeNumber(text, std::min(digits, longest));
    for (std::size_t count = digits; number && count < longest; ++count)
    {
        *number *= 10;
    }
    // What is finer than a microsecond.
    text.remove_prefix(digits > longest ? digits - longest : 0);
    return number;
}

struct TimeOfDay
{
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int microseconds = 0;
};

/// "10:30Z", "10:30:00Z", "10:30:00.5Z": the whole text.
std::optional<TimeOfDay> ParseTimeOfDay(std::string_view text)
{
    const auto hours = TakeNumber(text, 2);
    const auto minutes = hours && TakeCharacter(text, ':') ? TakeNumber(text, 2) : std::nullopt;
    auto seconds = std::optional(0);
    auto microseconds = std::optional(0);
    if (minutes && TakeCharacter(text, ':'))
    {
        seconds = TakeNumber(text, 2);
        microseconds = seconds ? TakeMicroseconds(text) : std::nullopt;
    }
    if (!minutes || !seconds || !microseconds || text != "Z" || *hours > 23 || *minutes > 59 || *seconds > 59)
    {
        return std::nullopt;
    }
    return TimeOfDay{*hours, *minutes, *seconds, *microseconds};
}

} // namespace

std::optional<int64> ParseUtcTime(std::string_view text)
{
    namespace chrono = std::chrono;
    const auto year = TakeNumber(text, 4);
    const auto month = year && TakeCharacter(text, '-') ? TakeNumber(text, 2) : std::nullopt;
    const auto day = month && TakeCharacter(text, '-') ? TakeNumber(text, 2) : std::nullopt;
    const auto time =
        text.empty() ? std::optional(TimeOfDay()) : (TakeCharacter(text, 'T') ? ParseTimeOfDay(text) : std::nullopt);
    if (!day || !time)
    {
        return std::nullopt;
    }
    const chrono::year_month_day date(chrono::year(*year), chrono::month(static_cast<unsigned>(*month)),
                                      chrono::day(static_cast<unsigned>(*day)));
    if (!date.ok())
    {
        return std::nullopt;
    }
    return chrono::microseconds(chrono::sys_days(date).time_since_epoch() + chrono::hours(time->hours) +
                                chrono::minutes(time->minutes) + chrono::seconds(time->seconds) +
                                chrono::microseconds(time->microseconds))
        .count();
}

} // namespace Oxa::Host::Audit
