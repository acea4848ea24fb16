#include "Oxa/System/Um/Internal/ObjectPattern.hpp"

#include <cstddef>

namespace Oxa::System::Um::Internal
{

bool MatchesObjectPattern(std::string_view pattern, std::string_view name) noexcept
{
    std::size_t patternPosition = 0;
    std::size_t namePosition = 0;
    // Only the last '*' can ever need to take more: what the earlier ones took is enough, since it made the rest fit.
    std::size_t afterLastStar = std::string_view::npos;
    std::size_t takenByLastStar = 0;
    while (namePosition < name.size())
    {
        if (patternPosition < pattern.size() && pattern[patternPosition] == '*')
        {
            afterLastStar = ++patternPosition;
            takenByLastStar = namePosition;
        }
        else if (patternPosition < pattern.size() && pattern[patternPosition] == name[namePosition])
        {
            ++patternPosition;
            ++namePosition;
        }
        else if (afterLastStar != std::string_view::npos)
        {
            patternPosition = afterLastStar;
            namePosition = ++takenByLastStar;
        }
        else
        {
            return false;
        }
    }
    return pattern.find_first_not_of('*', patternPosition) == std::string_view::npos;
}

} // namespace Oxa::System::Um::Internal
