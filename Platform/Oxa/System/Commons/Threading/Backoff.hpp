#pragma once

#include <algorithm>
#include <chrono>

namespace Oxa::System::Commons::Threading
{

/// When something that fails is tried again: at once, then after pauses that double from the shortest to the longest.
/// Knows no clock; time is passed in. Not safe from several threads.
class Backoff final
{
public:
    using Duration = std::chrono::steady_clock::duration;
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Requires: 0 < shortest <= longest.
    constexpr Backoff(Duration shortest, Duration longest) noexcept
        : shortest(shortest), longest(longest), pause(shortest)
    {
    }

    [[nodiscard]] bool IsDue(TimePoint now) const noexcept
    {
        return now >= next;
    }

    /// The time of the next attempt; the clock's epoch, which is long over, when nothing has failed.
    [[nodiscard]] TimePoint GetNext() const noexcept
    {
        return next;
    }

    /// Begins the next pause, because an attempt failed, or because it begins and may fail.
    void Delay(TimePoint now) noexcept
    {
        next = now + pause;
        pause = std::min(2 * pause, longest);
    }

    /// After a success.
    void Reset() noexcept
    {
        next = TimePoint();
        pause = shortest;
    }

private:
    Duration shortest;
    Duration longest;
    Duration pause;
    TimePoint next;
};

} // namespace Oxa::System::Commons::Threading
