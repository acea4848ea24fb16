#include "Oxa/System/Commons/Diagnostics/Logging/LogRateLimiter.hpp"

namespace Oxa::System::Commons::Diagnostics::Logging
{

namespace
{

constexpr std::chrono::minutes periodLength(1);
constexpr unsigned maximumPerPeriod = 10;

} // namespace

bool LogRateLimiter::Admits() noexcept
{
    const auto now = std::chrono::steady_clock::now();
    const MutexLock lock(mutex);
    if (count == 0 || now - periodBegin >= periodLength)
    {
        periodBegin = now;
        count = 0;
    }
    // Stays at the bound, lest a flood makes it begin anew.
    if (count == maximumPerPeriod)
    {
        return false;
    }
    ++count;
    return true;
}

} // namespace Oxa::System::Commons::Diagnostics::Logging
