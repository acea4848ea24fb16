#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

// NOLINTNEXTLINE(readability-identifier-naming): the library has this name.
namespace re2
{
class RE2;
}

namespace Oxa::Device::Linux::Sources
{

/// A regular expression that picks one piece out of a text, line by line. The time for a line grows with its length
/// only, whatever the expression is, and the memory of an expression is limited. Bytes are compared, not characters.
/// Safe from any thread.
class LinePattern final
{
public:
    static constexpr std::size_t maximumBytes = 256;

    LinePattern(const LinePattern&) = delete;
    LinePattern& operator=(const LinePattern&) = delete;
    ~LinePattern();

    /// The syntax is that of RE2. Null, and `fault` says why, when the expression is none, is too long, needs too much
    /// memory or has not exactly one group.
    [[nodiscard]] static std::shared_ptr<const LinePattern> TryMake(const BasicString& expression, BasicString& fault);

    /// What the group matches in the first line that the expression matches a part of; none when there is no such line.
    /// A line ends before "\n" or "\r\n". Valid as long as the text.
    [[nodiscard]] std::optional<std::string_view> Find(std::string_view text) const;

private:
    explicit LinePattern(std::unique_ptr<const re2::RE2> expression);

    const std::unique_ptr<const re2::RE2> expression;
};

} // namespace Oxa::Device::Linux::Sources
