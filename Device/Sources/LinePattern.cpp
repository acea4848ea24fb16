#include "Device/Sources/LinePattern.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

namespace
{

/// The library's own search is recursive in the length of the text and exponential for some expressions; this flag of
/// it chooses another that is neither: it goes once from each start through the places of the expression.
constexpr auto boundedSearch = std::regex_constants::ECMAScript | std::regex_constants::__polynomial;

/// What makes an expression take its time.
struct Effort
{
    /// Characters and classes, repetitions and choices; what is repeated by count is there as often.
    std::size_t placeCount = 0;
    /// Whether it can only match at the start of a line.
    bool isAnchored = false;
    /// Looking ahead is a search within the search.
    bool looksAhead = false;
};

/// Adds up the places of an expression that may be none.
class EffortCounter final
{
public:
    explicit EffortCounter(std::string_view expression) : rest(expression)
    {
        effort.isAnchored = expression.starts_with('^');
    }

    [[nodiscard]] Effort Count()
    {
        while (!rest.empty())
        {
            CountNext();
        }
        for (const std::size_t group : openGroups)
        {
            effort.placeCount += group;
        }
        return effort;
    }

private:
    // Far beyond every limit, and far below an overflow.
    static constexpr std::size_t enough = 1'000'000;

    void CountNext()
    {
        switch (const char character = rest.front(); character)
        {
        case '(':
            effort.looksAhead = effort.looksAhead || rest.starts_with("(?=") || rest.starts_with("(?!");
            openGroups.push_back(0);
            break;
        case ')':
            CloseGroup();
            break;
        case '{':
            Repeat(TakeTimes());
            return;
        case '*':
        case '+':
        case '?':
            ++last;
            AddPlaces(1);
            break;
        default:
            effort.isAnchored = effort.isAnchored && (character != '|' || openGroups.size() > 1);
            TakeAtom();
            last = 1;
            AddPlaces(last);
            return;
        }
        rest.remove_prefix(1);
    }

    void AddPlaces(std::size_t count)
    {
        openGroups.back() = std::min(openGroups.back() + count, enough);
    }

    void CloseGroup()
    {
        if (openGroups.size() > 1)
        {
            last = openGroups.back();
            openGroups.pop_back();
            AddPlaces(last);
        }
    }

    void Repeat(std::size_t times)
    {
        AddPlaces(last * times);
        last = std::min(last * times, enough);
    }

    /// The greater number of "{m,n}".
    std::size_t TakeTimes()
    {
        std::string_view counts = Machine::DeviceText::TakeUntil(rest, '}').substr(1);
        std::size_t times = 1;
        while (!counts.empty())
        {
            const auto count = Machine::DeviceText::ParseNumber<uint64>(Machine::DeviceText::TakeUntil(counts, ','));
            times = std::max(times, static_cast<std::size_t>(std::min<uint64>(count.value_or(1), enough)));
        }
        return times;
    }

    /// A character, an escaped one, or a class in brackets.
    void TakeAtom()
    {
        const bool isClass = rest.starts_with('[');
        do
        {
            const std::size_t length = rest.starts_with('\\') ? 2 : 1;
            rest.remove_prefix(std::min(length, rest.size()));
        } while (isClass && !rest.empty() && !rest.starts_with(']'));
        if (isClass && !rest.empty())
        {
            rest.remove_prefix(1);
        }
    }

    std::string_view rest;
    Effort effort;
    std::vector<std::size_t> openGroups = {0};
    /// The places of what a repetition would repeat.
    std::size_t last = 0;
};

/// Empty when the expression can never take long.
BasicString FindEffortFault(const Effort& effort)
{
    const std::size_t allowed =
        effort.isAnchored ? LinePattern::maximumPlaceCount : LinePattern::maximumUnanchoredPlaceCount;
    if (effort.looksAhead)
    {
        return "nothing that looks ahead";
    }
    if (effort.placeCount > allowed)
    {
        return fmt::format("at most {} characters and repetitions{}", allowed,
                           effort.isAnchored ? "" : ", or '^' before them");
    }
    return {};
}

} // namespace

std::shared_ptr<const LinePattern> LinePattern::TryMake(const BasicString& expression, BasicString& fault)
{
    if (expression.size() > maximumBytes)
    {
        fault = fmt::format("at most {} bytes", maximumBytes);
        return nullptr;
    }
    const Effort effort = EffortCounter(expression).Count();
    fault = FindEffortFault(effort);
    return fault.empty() ? TryCompile(expression, effort.isAnchored, fault) : nullptr;
}

std::shared_ptr<const LinePattern> LinePattern::TryCompile(const BasicString& expression, bool isAnchored,
                                                           BasicString& fault)
{
    try
    {
        std::regex compiled(expression, boundedSearch);
        if (compiled.mark_count() == 1)
        {
            return std::shared_ptr<const LinePattern>(new LinePattern(std::move(compiled), isAnchored));
        }
        fault = "exactly one group";
    }
    catch (const std::regex_error& error)
    {
        fault = error.what();
    }
    return nullptr;
}

LinePattern::LinePattern(std::regex expression, bool isAnchored)
    : expression(std::move(expression)),
      flags(isAnchored ? std::regex_constants::match_continuous : std::regex_constants::match_default)
{
}

std::optional<std::string_view> LinePattern::Find(std::string_view text) const
{
    while (!text.empty())
    {
        const std::string_view line = Machine::DeviceText::TakeUntil(text, '\n');
        const auto* const end = line.data() + std::min(line.size(), maximumLineBytes);
        std::cmatch match;
        if (!std::regex_search(line.data(), end, match, expression, flags) || !match[1].matched)
        {
            continue;
        }
        // What reaches the end of the part that was looked at could be the half of a number.
        if (line.size() <= maximumLineBytes || match[0].second != end)
        {
            return std::string_view(match[1].first, static_cast<std::size_t>(match[1].length()));
        }
    }
    return std::nullopt;
}

} // namespace Oxa::Device::Linux::Sources
