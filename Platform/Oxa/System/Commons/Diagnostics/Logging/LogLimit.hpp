#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <chrono>
#include <mutex>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Bounds how often something is logged that others can bring about at will: ten times in the minute that begins with
/// the first. Threads: safe from several threads.
class OXA_EXPORT LogLimit final
{
public:
    LogLimit() = default;
    LogLimit(const LogLimit&) = delete;
    LogLimit& operator=(const LogLimit&) = delete;

    /// Whether to log it this time, which then counts.
    [[nodiscard]] bool Admits() noexcept;

private:
    std::mutex mutex;
    std::chrono::steady_clock::time_point periodBegin;
    unsigned count = 0;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
