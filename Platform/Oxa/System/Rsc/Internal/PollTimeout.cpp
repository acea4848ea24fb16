#include "Oxa/System/Rsc/Internal/PollTimeout.hpp"

#include <algorithm>
#include <cstdint>

namespace Oxa::System::Rsc::Internal
{

int GetPollTimeout(std::chrono::steady_clock::time_point deadline, int most) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, most));
}

} // namespace Oxa::System::Rsc::Internal
