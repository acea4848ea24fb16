#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <chrono>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Bounds how often something is logged that others can bring about at will: ten times in the minute that begins with
/// the first. Threads: safe from several threads.
class OXA_EXPORT LogRateLimiter final
{
public:
    LogRateLimiter() = default;
    LogRateLimiter(const LogRateLimiter&) = delete;
    LogRateLimiter& operator=(const LogRateLimiter&) = delete;

    /// Whether to log it this time, which then counts.
    [[nodiscard]] bool Admits() noexcept;

private:
    System::Commons::Mutex mutex;
    std::chrono::steady_clock::time_point periodBegin;
    unsigned count = 0;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
