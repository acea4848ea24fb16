#include "Device/Machine/SteadyWaiter.hpp"

namespace Oxa::Device::Linux::Machine
{

using System::Commons::MutexLock;

IWaiter::~IWaiter() = default;

SteadyWaiter::SteadyWaiter() = default;

SteadyWaiter::~SteadyWaiter() = default;

bool SteadyWaiter::Wait(std::chrono::milliseconds duration)
{
    MutexLock lock(mutex);
    const auto deadline = std::chrono::steady_clock::now() + duration;
    while (!isCancelled && condition.WaitUntil(mutex, deadline))
    {
    }
    return !isCancelled;
}

void SteadyWaiter::Cancel() noexcept
{
    {
        const MutexLock lock(mutex);
        isCancelled = true;
    }
    condition.NotifyAll();
}

} // namespace Oxa::Device::Linux::Machine
