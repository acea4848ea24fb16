#pragma once

#include <chrono>

namespace Oxa::System::Rsc::Internal
{

/// So many milliseconds until the deadline, rounded up, from 0 to `most`: for poll.
[[nodiscard]] int GetPollTimeout(std::chrono::steady_clock::time_point deadline, int most) noexcept;

} // namespace Oxa::System::Rsc::Internal
