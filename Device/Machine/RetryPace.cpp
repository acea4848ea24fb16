#include "Device/Machine/RetryPace.hpp"

namespace Oxa::Device::Linux::Machine
{

bool RetryPace::TryBegin(SteadyTime now) noexcept
{
    if (last && now - *last < interval)
    {
        return false;
    }
    last = now;
    return true;
}

} // namespace Oxa::Device::Linux::Machine
