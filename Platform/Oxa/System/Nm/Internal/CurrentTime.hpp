#pragma once

#include "Oxa/System/Commons/OxaDateTime.hpp"

#include <chrono>

namespace Oxa::System::Nm::Internal
{

/// Now, in UTC, by the machine's clock.
[[nodiscard]] inline DateTime GetCurrentTime() noexcept
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return DateTime::FromUnixTimeMicroseconds(
        std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count());
}

} // namespace Oxa::System::Nm::Internal
