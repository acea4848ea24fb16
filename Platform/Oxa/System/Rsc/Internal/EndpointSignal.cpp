#include "Oxa/System/Rsc/Internal/EndpointSignal.hpp"

#include "Oxa/System/Rsc/Internal/WakeSignal.hpp"

#include <mutex>

namespace Oxa::System::Rsc::Internal
{

EndpointSignal::EndpointSignal() = default;

EndpointSignal::~EndpointSignal() = default;

void EndpointSignal::Connect(std::shared_ptr<WakeSignal> newTarget)
{
    const std::lock_guard lock(mutex);
    target.swap(newTarget);
}

void EndpointSignal::Disconnect(const std::shared_ptr<WakeSignal>& oldTarget)
{
    const std::lock_guard lock(mutex);
    if (target == oldTarget)
    {
        target.reset();
    }
}

void EndpointSignal::Wake() noexcept
{
    const std::lock_guard lock(mutex);
    if (target)
    {
        target->Wake();
    }
}

} // namespace Oxa::System::Rsc::Internal
