#include "Device/Machine/SteadyWaiter.hpp"

#include <mutex>

namespace Oxa::Device::Linux::Machine
{

IWaiter::~IWaiter() = default;

SteadyWaiter::SteadyWaiter() = default;

SteadyWaiter::~SteadyWaiter() = default;

bool SteadyWaiter::Wait(std::chrono::milliseconds duration)
{
    std::unique_lock lock(mutex);
    return !condition.wait_for(lock, duration, [this] { return isCancelled; });
}

void SteadyWaiter::Cancel() noexcept
{
    {
        const std::lock_guard lock(mutex);
        isCancelled = true;
    }
    condition.notify_all();
}

} // namespace Oxa::Device::Linux::Machine
