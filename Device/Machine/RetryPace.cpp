#include "Device/Machine/RetryPace.hpp"

namespace Oxa::Device::Linux::Machine
{

bool RetryPace::IsDue(SteadyTime now) const noexcept
{
    return !last || now - *last >= interval;
}

bool RetryPace::TryBegin(SteadyTime now) noexcept
{
    if (!IsDue(now))
    {
        return false;
    }
    last = now;
    return true;
}

} // namespace Oxa::Device::Linux::Machine
