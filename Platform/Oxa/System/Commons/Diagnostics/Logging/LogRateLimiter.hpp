#pragma once

#include "Oxa/System/Commons/Mutex.hpp"

#include <chrono>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Bounds how often a message is logged that others can trigger at will: ten times in the minute that begins with the
/// first. Safe from several threads.
class LogRateLimiter final
{
public:
    /// True if the message may be logged now; it then counts.
    [[nodiscard]] bool Admits() noexcept
    {
        const auto now = std::chrono::steady_clock::now();
        const MutexLock lock(mutex);
        if (count == 0 || now - periodBegin >= std::chrono::minutes(1))
        {
            periodBegin = now;
            count = 0;
        }
        const bool isAdmitted = count < maximumPerPeriod;
        count += isAdmitted ? 1 : 0;
        return isAdmitted;
    }

private:
    static constexpr unsigned maximumPerPeriod = 10;

    System::Commons::Mutex mutex;
    std::chrono::steady_clock::time_point periodBegin OXA_GUARDED_BY(mutex);
    unsigned count OXA_GUARDED_BY(mutex) = 0;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
