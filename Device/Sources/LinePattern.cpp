#include "Device/Sources/LinePattern.hpp"

#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>
#include <re2/re2.h>

#include <array>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

namespace
{

// For the expression and what the search remembers of it; the library does without remembering when it is used up.
constexpr int64_t maximumMemoryBytes = 256 * 1024;

re2::RE2::Options MakeOptions()
{
    re2::RE2::Options options;
    options.set_max_mem(maximumMemoryBytes);
    options.set_log_errors(false);
    // What a device says may be no UTF-8.
    options.set_encoding(re2::RE2::Options::EncodingLatin1);
    return options;
}

} // namespace

std::shared_ptr<const LinePattern> LinePattern::TryMake(const BasicString& expression, BasicString& fault)
{
    if (expression.size() > maximumBytes)
    {
        fault = fmt::format("at most {} bytes", maximumBytes);
        return nullptr;
    }
    auto compiled = std::make_unique<const re2::RE2>(expression, MakeOptions());
    if (!compiled->ok())
    {
        fault = compiled->error();
        return nullptr;
    }
    if (compiled->NumberOfCapturingGroups() != 1)
    {
        fault = "exactly one group";
        return nullptr;
    }
    return std::shared_ptr<const LinePattern>(new LinePattern(std::move(compiled)));
}

LinePattern::LinePattern(std::unique_ptr<const re2::RE2> expression) : expression(std::move(expression)) {}

LinePattern::~LinePattern() = default;

std::optional<std::string_view> LinePattern::Find(std::string_view text) const
{
    while (!text.empty())
    {
        std::string_view line = Machine::DeviceText::TakeUntil(text, '\n');
        if (line.ends_with('\r'))
        {
            line.remove_suffix(1);
        }
        // The whole match, and the group, which has no address when it takes no part in the match.
        std::array<re2::StringPiece, 2> matches;
        const bool isMatch = expression->Match({line.data(), line.size()}, 0, line.size(), re2::RE2::UNANCHORED,
                                               matches.data(), static_cast<int>(matches.size()));
        if (isMatch && matches[1].data() != nullptr)
        {
            return std::string_view(matches[1].data(), matches[1].size());
        }
    }
    return std::nullopt;
}

} // namespace Oxa::Device::Linux::Sources
