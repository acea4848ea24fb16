#include "Device/Items/LinePattern.hpp"

#include "Device/Items/DeviceText.hpp"

#include <fmt/format.h>

#include <utility>

namespace Oxa::Device::Linux::Items
{

namespace
{

constexpr std::size_t maximumLineBytes = 1024;

/// The library's own search is recursive in the length of the text and exponential for some expressions; this flag of
/// it chooses another that is neither.
constexpr auto boundedSearch = std::regex_constants::ECMAScript | std::regex_constants::__polynomial;

} // namespace

std::shared_ptr<const LinePattern> LinePattern::TryMake(const BasicString& expression, BasicString& fault)
{
    if (expression.size() > maximumBytes)
    {
        fault = fmt::format("at most {} bytes", maximumBytes);
        return nullptr;
    }
    try
    {
        std::regex compiled(expression, boundedSearch);
        if (compiled.mark_count() == 1)
        {
            return std::shared_ptr<const LinePattern>(new LinePattern(std::move(compiled)));
        }
        fault = "exactly one group";
    }
    catch (const std::regex_error& error)
    {
        fault = error.what();
    }
    return nullptr;
}

LinePattern::LinePattern(std::regex expression) : expression(std::move(expression)) {}

std::optional<std::string_view> LinePattern::Find(std::string_view text) const
{
    while (!text.empty())
    {
        const std::string_view line = DeviceText::TakeUntil(text, '\n').substr(0, maximumLineBytes);
        std::cmatch match;
        if (std::regex_search(line.data(), line.data() + line.size(), match, expression) && match[1].matched)
        {
            return std::string_view(match[1].first, static_cast<std::size_t>(match[1].length()));
        }
    }
    return std::nullopt;
}

} // namespace Oxa::Device::Linux::Items
