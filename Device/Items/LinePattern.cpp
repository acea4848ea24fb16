#include "Device/Items/LinePattern.hpp"

#include "Device/Items/DeviceText.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

namespace Oxa::Device::Linux::Items
{

using System::Commons::ArgumentException;

namespace
{

constexpr std::size_t maximumLineBytes = 1024;

/// The library's own search is recursive in the length of the text and exponential for some expressions; this flag of
/// it chooses another that is neither.
constexpr auto boundedSearch = std::regex_constants::ECMAScript | std::regex_constants::__polynomial;

std::regex Compile(const BasicString& expression)
{
    if (expression.size() > LinePattern::maximumBytes)
    {
        throw ArgumentException::Create("expression", expression.size(), "a regular expression of at most 256 bytes");
    }
    try
    {
        return std::regex(expression, boundedSearch);
    }
    catch (const std::regex_error& error)
    {
        throw ArgumentException::Create("expression", expression, error.what());
    }
}

} // namespace

LinePattern::LinePattern(const BasicString& expression) : expression(Compile(expression))
{
    if (this->expression.mark_count() != 1)
    {
        throw ArgumentException::Create("expression", expression, "a regular expression with exactly one group");
    }
}

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
