#pragma once

#include <poll.h>

#include <chrono>
#include <functional>

namespace Oxa::Tests::Support
{

/// Whether the condition comes true in time; asks about once a millisecond.
[[nodiscard]] inline bool Eventually(const std::function<bool()>& condition,
                                     std::chrono::milliseconds timeout = std::chrono::seconds(20))
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    bool isTrue = condition();
    while (!isTrue && std::chrono::steady_clock::now() < end)
    {
        poll(nullptr, 0, 1);
        isTrue = condition();
    }
    return isTrue;
}

} // namespace Oxa::Tests::Support
