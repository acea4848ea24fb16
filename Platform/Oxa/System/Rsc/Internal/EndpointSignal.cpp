#include "Oxa/System/Rsc/Internal/EndpointSignal.hpp"

#include "Oxa/System/Commons/Threading/WakeEvent.hpp"

#include <mutex>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Threading::WakeEvent;

EndpointSignal::EndpointSignal() = default;

EndpointSignal::~EndpointSignal() = default;

void EndpointSignal::Connect(std::shared_ptr<WakeEvent> newTarget)
{
    const std::lock_guard lock(mutex);
    target.swap(newTarget);
}

void EndpointSignal::Disconnect(const std::shared_ptr<WakeEvent>& oldTarget)
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
        target->Set();
    }
}

} // namespace Oxa::System::Rsc::Internal
