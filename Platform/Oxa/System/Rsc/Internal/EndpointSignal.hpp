#pragma once

#include "Oxa/System/Commons/Mutex.hpp"

#include <memory>

namespace Oxa::System::Commons::Threading
{
class WakeEvent;
}

namespace Oxa::System::Rsc::Internal
{

/// The way from an endpoint to the thread that watches it: wakes that thread while there is one. Owned by the endpoint.
/// Threads: safe from any thread, also under the locks of the endpoint's parts.
class EndpointSignal final
{
public:
    EndpointSignal();
    EndpointSignal(const EndpointSignal&) = delete;
    EndpointSignal& operator=(const EndpointSignal&) = delete;
    ~EndpointSignal();

    /// From now on wakes the thread that waits for this one.
    void Connect(std::shared_ptr<System::Commons::Threading::WakeEvent> newTarget);
    /// Wakes nobody any more, unless another thread took over meanwhile.
    void Disconnect(const std::shared_ptr<System::Commons::Threading::WakeEvent>& oldTarget);

    void Wake() noexcept;

private:
    System::Commons::Mutex mutex;
    /// Null while nobody watches.
    std::shared_ptr<System::Commons::Threading::WakeEvent> target;
};

} // namespace Oxa::System::Rsc::Internal
