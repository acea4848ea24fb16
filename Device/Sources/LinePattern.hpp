#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <regex>
#include <string_view>

namespace Oxa::Device::Linux::Sources
{

/// A regular expression that picks one piece out of a text, line by line. The time for a line is bounded by the places
/// of the expression times the bytes of the line, once more times those when the expression may match anywhere in it;
/// both are limited, so that a text of 4096 bytes costs a few tenths of a second at worst. Safe from any thread.
class LinePattern final
{
public:
    static constexpr std::size_t maximumBytes = 256;
    static constexpr std::size_t maximumLineBytes = 128;
    /// Characters and repetitions of an expression that begins with '^', what is repeated by count written out.
    static constexpr std::size_t maximumPlaceCount = 256;
    static constexpr std::size_t maximumUnanchoredPlaceCount = 48;

    /// ECMAScript without back-references and without looking ahead. Null, and `fault` says why, when the expression is
    /// none, is too long or has not exactly one group.
    [[nodiscard]] static std::shared_ptr<const LinePattern> TryMake(const BasicString& expression, BasicString& fault);

    /// What the group matches in the first line that the expression matches a part of; none when there is no such line.
    /// Of a longer line the first 128 bytes are looked at, and a match that reaches their end is none. Valid as long as
    /// the text.
    [[nodiscard]] std::optional<std::string_view> Find(std::string_view text) const;

private:
    LinePattern(std::regex expression, bool isAnchored);

    [[nodiscard]] static std::shared_ptr<const LinePattern> TryCompile(const BasicString& expression, bool isAnchored,
                                                                       BasicString& fault);

    const std::regex expression;
    const std::regex_constants::match_flag_type flags;
};

} // namespace Oxa::Device::Linux::Sources
