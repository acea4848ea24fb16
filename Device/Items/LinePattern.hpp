#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <regex>
#include <string_view>

namespace Oxa::Device::Linux::Items
{

/// A regular expression that picks one piece out of a text, line by line. Its time grows with the length of a line, not
/// with the number of ways in which it could match. Safe from any thread.
class LinePattern final
{
public:
    static constexpr std::size_t maximumBytes = 256;

    /// ECMAScript without back-references. Null, and `fault` says why, when the expression is none, is too long or has
    /// not exactly one group.
    [[nodiscard]] static std::shared_ptr<const LinePattern> TryMake(const BasicString& expression, BasicString& fault);

    /// What the group matches in the first line that the expression matches a part of; none when there is no such line.
    /// Of a line of more than 1024 bytes, those are looked at. Valid as long as the text.
    [[nodiscard]] std::optional<std::string_view> Find(std::string_view text) const;

private:
    explicit LinePattern(std::regex expression);

    const std::regex expression;
};

} // namespace Oxa::Device::Linux::Items
